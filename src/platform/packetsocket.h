#pragma once

// Packets (UDP) that programs of this machine send to a port of it. Nobody else reaches it: it is bound to
// the loopback address. One thread at a time.

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace platform {

class PacketSocket {
public:
    /// Throws slib::OperatingSystemErrnoException when the port is taken, or the system refuses.
    explicit PacketSocket(std::uint16_t port);
    ~PacketSocket();
    PacketSocket(const PacketSocket&) = delete;
    PacketSocket& operator=(const PacketSocket&) = delete;

    /// False once the game has closed the descriptor, whatever it then opened; and in a child that it forked.
    bool IsOurs() const;

    /// Waits for a packet, for a twentieth of a second at most, and puts it into `packet`: its size in bytes,
    /// 0 for none. What doesn't fit is lost.
    [[nodiscard]] std::size_t Receive(std::span<std::byte> packet) const;

    /// Sends `packet` to a port of this machine. False when the system refuses.
    [[nodiscard]] static bool Send(std::uint16_t port, std::span<const std::byte> packet);

private:
    const pid_t owner;
    int descriptor = -1;
    ino_t file = 0;
};

}  // namespace platform
