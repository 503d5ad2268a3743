#include "tools/page/server/listener.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

#include "slib/exception.h"

namespace page {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t mostWaiting = 64;
constexpr std::chrono::seconds silence{30};

// Another program has the port of the one address, or there is no such address: then it isn't open.
Descriptor ListenAt(const sockaddr* address, socklen_t length) {
    Descriptor socket(::socket(address->sa_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const int only = 1;
    const bool isListening = socket.IsOpen() &&
                             (address->sa_family != AF_INET6 ||
                              setsockopt(socket.value, IPPROTO_IPV6, IPV6_V6ONLY, &only, sizeof only) == 0) &&
                             bind(socket.value, address, length) == 0 && listen(socket.value, SOMAXCONN) == 0;
    return isListening ? std::move(socket) : Descriptor();
}

Descriptor ListenAtV4() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return ListenAt(reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

Descriptor ListenAtV6(int port) {
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_addr = in6addr_loopback;
    address.sin6_port = htons(static_cast<std::uint16_t>(port));
    return ListenAt(reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

int PortOf(const Descriptor& socket) {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    getsockname(socket.value, reinterpret_cast<sockaddr*>(&address), &length);
    return ntohs(address.sin_port);
}

}  // namespace

Listener::Listener(const EndSignal& ending, Take take)
    : Thread("Listener", Priority::Normal), ending(ending), take(std::move(take)), v4(ListenAtV4()) {
    if (!v4.IsOpen())
        throw slib::OperatingSystemErrnoException(
            "The page's server can't listen at 127.0.0.1. Let programs use the loopback interface.");
    port = PortOf(v4);
    v6 = ListenAtV6(port);
    hasV6 = v6.IsOpen();
}

Listener::~Listener() {
    Stop();
}

// Of the one that came first the time is over first.
int Listener::Patience() const {
    if (waiting.empty()) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(waiting.front().until - Clock::now());
    return static_cast<int>(std::max<std::int64_t>(left.count(), 0));
}

void Listener::Run() {
    for (;;) {
        std::vector<pollfd> sockets{
            {ending.descriptor.value, POLLIN, 0}, {v4.value, POLLIN, 0}, {v6.value, POLLIN, 0}};
        const std::size_t own = sockets.size();
        for (const Waiting& client : waiting)
            sockets.push_back({client.socket.value, POLLIN, 0});
        if (poll(sockets.data(), sockets.size(), Patience()) < 0 && errno != EINTR) return;
        if (sockets[0].revents != 0) return;
        std::deque<Waiting> silent;
        for (std::size_t i = 0; i < waiting.size(); ++i)
            if (sockets[own + i].revents != 0)
                take(std::move(waiting[i].socket));
            else if (waiting[i].until > Clock::now())
                silent.push_back(std::move(waiting[i]));
        waiting = std::move(silent);
        if (sockets[1].revents != 0) Accept(v4);
        if (sockets[2].revents != 0) Accept(v6);
    }
}

// Where there is no room for one more, the one that has waited longest loses its place.
void Listener::Accept(const Descriptor& server) {
    Descriptor client(accept4(server.value, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    const bool isFull = !client.IsOpen() && (errno == EMFILE || errno == ENFILE);
    if (isFull) poll(nullptr, 0, 10);
    if ((isFull || waiting.size() >= mostWaiting) && !waiting.empty()) waiting.pop_front();
    if (client.IsOpen()) waiting.push_back({std::move(client), Clock::now() + silence});
}

}  // namespace page
