#pragma once

// Waits for clients at the loopback addresses of this machine, on one port of the system's choice, and hands
// over those that have something to say. Browsers also open connections in advance; those wait here and hold
// up nobody. Any thread.

#include <chrono>
#include <deque>
#include <functional>

#include "slib/thread.h"
#include "tools/page/server/descriptor.h"
#include "tools/page/server/endsignal.h"

namespace page {

class Listener : private slib::Thread {
public:
    /// Gets a socket that doesn't block; on the listener's thread, which may be kept waiting.
    using Take = std::function<void(Descriptor)>;

    /// Clients may connect from now on, and are waited for from Start on. `ending` outlives it. Throws
    /// slib::OperatingSystemErrnoException when 127.0.0.1 can't be listened at; ::1 may be missing.
    Listener(const EndSignal& ending, Take take);
    /// Returns when `ending` was raised.
    ~Listener() override;

    using Thread::Start;

private:
    struct Waiting {
        Descriptor socket;
        std::chrono::steady_clock::time_point until;
    };

    void Run() override;
    void Accept(const Descriptor& server);
    int Patience() const;

    const EndSignal& ending;
    const Take take;
    Descriptor v4, v6;
    std::deque<Waiting> waiting;

public:
    int port = 0;  ///< set by the constructor, as is the other one
    bool hasV6 = false;
};

}  // namespace page
