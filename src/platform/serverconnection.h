#pragma once

// A connection to a sound server, or to the sound cards where there is none. Everything here may wait for the
// server, so it is called through CallBounded or on threads that can be done without. Its threads end with
// the last stream and the last holder of the connection; in a child that the game forked there is no
// connection, and every operation returns so.

#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/returningbuffer.h"

namespace platform {

/// One output of a server.
struct ServerOutput {
    std::string identifier;   ///< the server's own name for it
    std::string description;  ///< for people
    std::uint32_t channels = 0;
    std::uint32_t rate = 0;     ///< Hz, at which the server plays on it now; 0 where it doesn't say
    bool isHeadphones = false;  ///< as the server knows it
    bool isDefault = false;
    std::vector<std::string> channelNames{};  ///< empty where the server has none

    /// A DSSPEAKER_ constant.
    std::uint32_t Speakers() const;

    bool operator==(const ServerOutput&) const = default;
};

/// Whether an output is still what it was when it was opened. Shared by its device and the connections that
/// its streams are on.
struct OutputWatch {
    std::string identifier;                 ///< empty for the user's default, whichever that is
    std::optional<std::uint32_t> speakers;  ///< as reported; none where a setting says what they are
    std::shared_ptr<OutputNews> news;
};

class ServerConnection {
public:
    ServerConnection() = default;
    virtual ~ServerConnection() = default;
    ServerConnection(const ServerConnection&) = delete;
    ServerConnection& operator=(const ServerConnection&) = delete;

    /// The outputs that are switched on; empty when the connection is lost.
    virtual std::vector<ServerOutput> Outputs() = 0;
    /// The name of the system behind it.
    virtual std::string Module() = 0;
    /// Frames of the shortest stream buffer that the system takes for the ring.
    virtual std::uint32_t ShortestBuffer(const RingShape& shape) = 0;
    /// Opens a stream with a buffer of `capacity` frames on the output that `watch` names, not started. A
    /// server that tells of changes answers the watch from then on.
    [[nodiscard]] virtual Result OpenStream(const OutputWatch& watch, const RingShape& shape,
                                            std::uint32_t capacity, StreamOutlet& outlet,
                                            std::unique_ptr<OutputStream>& stream) = 0;

    /// False in a forked child: what the server's library knows is the parent's.
    bool IsHere() const { return owner == getpid(); }

private:
    const pid_t owner = getpid();
};

using ServerConnectionPtr = std::shared_ptr<ServerConnection>;
/// Makes a connection, null when nothing answers. May wait.
using ServerConnector = std::function<ServerConnectionPtr()>;

}  // namespace platform
