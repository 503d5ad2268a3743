#pragma once

// Finds what a stored layout names: a framework, a device of it, and a channel of that. Called by the
// validation of layouts and the set-up of the output, on the caller's thread; no state.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "pipe/framework.h"

namespace orb3 {

/// The audio APIs of a run; none is null.
using Frameworks = std::vector<audiopipe::FrameworkPtr>;

/// The first framework with this id; null when there is none.
audiopipe::FrameworkPtr FindFramework(const Frameworks& frameworks, const std::string& id);

/// The first device of the framework with this id, else the first with this full or plain id; null when there
/// is none.
audiopipe::DevicePtr FindDevice(audiopipe::Framework& framework, const std::string& id);

/// The names of the device's playback channels, in its order.
std::vector<std::string> PlaybackChannelNames(audiopipe::Device& device);

/// The index of the name that is exactly `wanted`, else of one that it matches by NamesMatch; the last where
/// there are several.
[[nodiscard]] std::optional<std::uint32_t> FindChannel(const std::vector<std::string>& names,
                                                       const std::string& wanted);

}  // namespace orb3
