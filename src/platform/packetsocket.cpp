#include "platform/packetsocket.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "slib/exception.h"

namespace platform {
namespace {

sockaddr_in AddressOf(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

ino_t FileOf(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 ? status.st_ino : 0;
}

// Above the numbers of the standard streams, which a game that closed those writes to all the same.
int OpenSocket() {
    const int opened = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (opened < 0) return opened;
    const int moved = fcntl(opened, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    close(opened);
    return moved;
}

}  // namespace

PacketSocket::PacketSocket(std::uint16_t port) : owner(getpid()), descriptor(OpenSocket()) {
    const sockaddr_in address = AddressOf(port);
    const timeval patience{0, 50'000};
    const bool isOpen = descriptor >= 0 &&
                        setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience) == 0 &&
                        bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    if (!isOpen) {
        const int reason = errno;
        if (descriptor >= 0) close(descriptor);
        errno = reason;
        throw slib::OperatingSystemErrnoException("Port " + std::to_string(port) +
                                                  " of this machine can't be listened to.");
    }
    file = FileOf(descriptor);
}

PacketSocket::~PacketSocket() {
    if (IsOurs()) close(descriptor);
}

bool PacketSocket::IsOurs() const {
    return owner == getpid() && file != 0 && FileOf(descriptor) == file;
}

std::size_t PacketSocket::Receive(std::span<std::byte> packet) const {
    if (!IsOurs()) return 0;
    const ssize_t size = recv(descriptor, packet.data(), packet.size(), 0);
    return size > 0 ? static_cast<std::size_t>(size) : 0;
}

bool PacketSocket::Send(std::uint16_t port, std::span<const std::byte> packet) {
    const int descriptor = OpenSocket();
    if (descriptor < 0) return false;
    const sockaddr_in address = AddressOf(port);
    const ssize_t sent = sendto(descriptor, packet.data(), packet.size(), MSG_NOSIGNAL,
                                reinterpret_cast<const sockaddr*>(&address), sizeof address);
    close(descriptor);
    return sent == static_cast<ssize_t>(packet.size());
}

}  // namespace platform
