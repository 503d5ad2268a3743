#pragma once

// The outputs of a PulseAudio server, or of PipeWire's in its place. Beside what any server has, this one
// tells which port of an output is in use, so that headphones are known, and what changes while a stream
// plays, and its stream's buffer is resized without an interruption.

#include "platform/serverconnection.h"

namespace platform {

/// Null when no server answers, or the library is missing. May wait for the server.
ServerConnectionPtr ConnectPulse();

}  // namespace platform
