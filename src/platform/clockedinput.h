#pragma once

// Inputs without a sound server, whose frames come at the pace of the clock: silence, and a WAV file in place
// of a microphone. Called by OpenInput.

#include <memory>
#include <string>

#include "platform/input.h"

namespace platform {

/// Silence.
std::unique_ptr<Input> MakeSilentInput(std::shared_ptr<InputRing> ring);

/// The frames of a file that libsndfile knows, over and over. It is read whole, and brought to the format of
/// the ring: channels are averaged, left out (all but two) or doubled, another rate is interpolated linearly.
/// Throws BadStateException where it can't be read, has no frames, or would have more than 256 MiB of them.
std::unique_ptr<Input> MakeFileInput(const std::string& path, const std::shared_ptr<InputRing>& ring);

}  // namespace platform
