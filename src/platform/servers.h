#pragma once

// The sound servers and sound cards of this machine, as the setting of the output chooses among them. Used by
// the sound system, and by the program that says what is there.

#include <string>
#include <vector>

#include "platform/platformsettings.h"
#include "platform/serverconnection.h"

namespace platform {

/// Null when nothing answers. May wait for a server.
ServerConnectionPtr ConnectServer(PlatformSettings::Output output);

/// The same without the wait: a server that hangs is one that doesn't answer.
ServerConnectionPtr ConnectBounded(PlatformSettings::Output output);

/// Told apart by their descriptions. Empty without a connection, or when it is lost or hangs.
std::vector<ServerOutput> ListBounded(const ServerConnectionPtr& connection);

/// What answers who looks for an output.
struct ServerAnswer {
    std::string module;  ///< the name of the system; empty where nothing answers
    std::vector<ServerOutput> outputs;
    bool hasHung = false;
};

/// Waits two seconds at most.
ServerAnswer AskServer(PlatformSettings::Output output);

}  // namespace platform
