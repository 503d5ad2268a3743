#pragma once

// The inputs of a PulseAudio server, or of PipeWire's in its place. The server converts to what the game
// wants. Called by OpenInput.

#include <memory>
#include <string>
#include <vector>

#include "platform/input.h"

namespace platform {

/// As ListInputs, but on the calling thread, and without a bound to how long it waits.
std::vector<InputName> ListPulseInputs();

/// As OpenInput.
std::unique_ptr<Input> OpenPulseInput(const std::string& name, std::shared_ptr<InputRing> ring,
                                      slib::Log* log);

}  // namespace platform
