#pragma once

// The connection of a layout's speakers to the outputs of a device, for the commands that a person makes it
// with.

#include <string>
#include <vector>

#include "orb3core/speakers/layout.h"
#include "pipe/framework.h"

namespace tool {

/// Connects each speaker of the layout, which has as many channels, to an output of the device, which has
/// enough: by name and role, the rest in order.
void ConnectTo(audiopipe::Device& device, orb3::spk::Layout& layout);

/// Which speakers of all frequencies play on an output of bass alone, and what to do about it: a sentence
/// each.
std::vector<std::string> BassWarnings(const orb3::spk::Layout& layout);

}  // namespace tool
