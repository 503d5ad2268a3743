#pragma once

// The outputs of this machine through the cubeb library: JACK, ALSA and others, the first that answers. The
// library is loaded at the first use.

#include <string>

#include "platform/serverconnection.h"

namespace platform {

/// `backend` is the library's name for one of its systems, null for any. Null when nothing answers, or the
/// library is missing. May wait for a server.
ServerConnectionPtr ConnectCubeb(const char* backend);

/// Why the library can't be loaded; empty when it can.
std::string CubebProblem();

}  // namespace platform
