#pragma once

// A few threads that serve clients, each one at a time. Clients beyond them wait, and beyond a few of those
// whoever brings more. Any thread.

#include <array>
#include <deque>
#include <functional>
#include <memory>

#include "slib/mutex.h"
#include "slib/thread.h"
#include "tools/page/server/descriptor.h"

namespace page {

class Workers {
public:
    static constexpr std::uint32_t count = 8, mostWaiting = 32;

    /// Starts them. `serve` runs on one of them and throws nothing. Throws what slib::Thread::Start does.
    explicit Workers(std::function<void(Descriptor)> serve);
    /// Waits for those that serve; clients that wait lose their connection.
    ~Workers();
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    /// Waits while there is no room.
    void Take(Descriptor client);

private:
    class Worker;

    void End();

    const std::function<void(Descriptor)> serve;
    slib::Semaphore room, work;
    slib::Mutex mutex;
    std::deque<Descriptor> clients SLIB_GUARDED_BY(mutex);
    std::array<std::unique_ptr<Worker>, count> workers;
};

}  // namespace page
