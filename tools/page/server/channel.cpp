#include "tools/page/server/channel.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace page {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds writingTime{10000}, farewellTime{300};
constexpr std::size_t mostFarewell = std::size_t{1} << 20;

}  // namespace

Channel::Channel(Descriptor socket, const EndSignal& ending) : socket(std::move(socket)), ending(ending) {}

void Channel::Expect(std::size_t most, milliseconds patience) {
    left = most;
    deadline = Clock::now() + patience;
}

// False when the time is over, or the server ends.
bool Channel::Await(short events, Clock::time_point until) const {
    for (;;) {
        const auto time = std::chrono::ceil<milliseconds>(until - Clock::now()).count();
        if (time <= 0) return false;
        std::array<pollfd, 2> waiting{{{socket.value, events, 0}, {ending.descriptor.value, POLLIN, 0}}};
        const int count = poll(waiting.data(), waiting.size(), static_cast<int>(time));
        if (count < 0 && errno == EINTR) continue;
        return count > 0 && waiting[1].revents == 0;
    }
}

ssize_t Channel::Read(char* bytes, std::size_t count) {
    if (first == last) {
        ssize_t length = -1;
        while (left > 0 && Await(POLLIN, deadline)) {
            length = recv(socket.value, buffer.data(), std::min(buffer.size(), left), 0);
            if (length >= 0 || (errno != EAGAIN && errno != EINTR)) break;
        }
        if (length <= 0) return length;
        first = 0;
        last = static_cast<std::size_t>(length);
    }
    const std::size_t taken = std::min({count, last - first, left});
    if (taken == 0) return -1;
    std::memcpy(bytes, buffer.data() + first, taken);
    first += taken;
    left -= taken;
    return static_cast<ssize_t>(taken);
}

ssize_t Channel::Write(const char* bytes, std::size_t count) {
    const Clock::time_point until = Clock::now() + writingTime;
    for (std::size_t written = 0; written < count;) {
        if (!Await(POLLOUT, until)) return -1;
        const ssize_t length = send(socket.value, bytes + written, count - written, MSG_NOSIGNAL);
        if (length < 0 && errno != EAGAIN && errno != EINTR) return -1;
        written += static_cast<std::size_t>(std::max<ssize_t>(length, 0));
    }
    return static_cast<ssize_t>(count);
}

void Channel::Finish() {
    shutdown(socket.value, SHUT_WR);
    const Clock::time_point until = Clock::now() + farewellTime;
    for (std::size_t taken = 0; taken < mostFarewell && Await(POLLIN, until);) {
        const ssize_t length = recv(socket.value, buffer.data(), buffer.size(), 0);
        if (length <= 0) break;
        taken += static_cast<std::size_t>(length);
    }
}

std::string Channel::Peer() const {
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    if (getpeername(socket.value, reinterpret_cast<sockaddr*>(&address), &length) != 0) return {};
    std::array<char, INET6_ADDRSTRLEN> text{};
    const void* const number =
        address.ss_family == AF_INET
            ? static_cast<const void*>(&reinterpret_cast<const sockaddr_in&>(address).sin_addr)
            : &reinterpret_cast<const sockaddr_in6&>(address).sin6_addr;
    return inet_ntop(address.ss_family, number, text.data(), text.size()) == nullptr ? "" : text.data();
}

}  // namespace page
