#pragma once

// The end of the process while there is a context. `exit` may have been called anywhere: in a handler of a
// signal that interrupted a call, or the allocator, or while another thread makes a context. So the thread
// that calls it locks and frees nothing; it asks a thread that waits for nothing else to do the work, and
// waits for that thread for a limited time. What isn't done by then is left to the system, with all memory.

#include <atomic>
#include <cstdint>
#include <functional>

#include "slib/mutex.h"
#include "slib/thread.h"

namespace goal {

class Ending : public slib::Thread {
public:
    /// `work` ends the context. It runs once, on this thread.
    explicit Ending(std::function<void()> work) : Thread("Ending", Priority::Normal), work(std::move(work)) {}

    /// From now on there is something to end. Does nothing once the end has begun. Throws what Thread::Start
    /// throws. Prepare and Cancel are for those who hold contextLifetimeMutex.
    void Prepare();
    /// There is nothing to end any more: the thread ends, unless the end has begun.
    void Cancel();

    /// Runs the work, if there is something to end. False when it isn't over after that time. From any thread
    /// and signal handler; a second call does nothing.
    bool RunWithin(std::uint32_t milliseconds);

private:
    enum class State { Idle, Prepared, Begun };

    void Run() override;

    const std::function<void()> work;
    std::atomic<State> state{State::Idle};
    slib::Semaphore begin;
    slib::Semaphore over;
};

}  // namespace goal
