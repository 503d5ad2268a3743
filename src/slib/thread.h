#pragma once

// A named thread with a priority and a start and stop handshake. Subclasses give its body in Run. This is the
// one place of the system that creates threads.

#include <pthread.h>
#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <string>

#include "slib/mutex.h"

namespace slib {

/// Lifetime: built, running from Start on, ended once Run has returned. An ended thread may be started again.
/// The destructor waits for no running body: a subclass stops its thread before any of its own fields go.
/// Start and Stop may be called from any thread. In a child that the game forked no thread of ours exists:
/// there each of these objects counts as not running.
class Thread {
public:
    /// What each means: the level of the platform whose scheduler has 15 steps, and what it is here.
    enum class Priority {
        Normal,        ///< as created; no call is made
        BelowNormal,   ///< -1; nice +5
        AboveNormal,   ///< +1; nice -5
        Highest,       ///< +2; nice -10
        TimeCritical,  ///< +15; a real-time class where the system lets us have it, else nice -15
    };

    /// `name` is what a debugger shows, and nothing else. Nothing runs yet.
    Thread(std::string name, Priority priority);
    virtual ~Thread();
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    /// Starts the body and returns once the new thread has signalled that it is up. Throws
    /// OperatingSystemGetLastErrorException "A thread could not be created." when the system refuses, and the
    /// object stays usable. Its stack has the size that is the process's default, between 2 and 8 MiB, and
    /// its floating-point environment is the default one. A refused priority is a line on standard error, the
    /// first time in a process, and the thread keeps its priority. Throws BadStateException when the thread
    /// is running already.
    void Start();

    /// Asks for the end and waits for it; returns at once when the thread isn't running. Several callers may
    /// stop one thread at the same time, and each returns after the body has ended. Does nothing on the
    /// thread itself, which can't wait for its own end (a callback of the game that ends the process).
    void Stop();

    /// True once somebody wants the thread to end. For use in the body; costs one relaxed read.
    bool IsStopRequested() const { return stopRequests.load(std::memory_order_relaxed) != 0; }

protected:
    /// The body, on the new thread. An exception that leaves it is a line on standard error.
    virtual void Run() = 0;

    // The two halves of Stop, for a subclass whose body sleeps on a semaphore of its own and has to be woken
    // in between. RequestStop is false, and AwaitEnd not due, when the thread isn't running or is the calling
    // one.
    [[nodiscard]] bool RequestStop();
    void AwaitEnd();
    // Gives the calling thread, one of ours, another priority than it was made with. False when the system
    // refuses, and the thread has the nearest that it may have.
    static bool TakePriority(Priority priority);

    // As AwaitEnd, but false when the time is over first.
    [[nodiscard]] bool AwaitEndFor(std::uint32_t milliseconds);

    // Waits for the last instructions of a thread that has ended, before Start or the destructor do.
    void JoinEnded();

    // Nobody will join the running thread, which gives back its stack itself. For the end of the process.
    void LeaveToItself();

private:
    static void* Enter(void* self);
    void Body();
    void Name() const;
    void NoteEnd();
    bool IsOfThisProcess() const;

    const std::string name;
    const Priority priority;

    Mutex stateMutex;  // stopRequests, too, changes under it, and is read without
    bool running SLIB_GUARDED_BY(stateMutex) = false;
    std::atomic<std::uint32_t> stopRequests{0};

    Semaphore startedSemaphore;   // posted once by the new thread
    Semaphore finishedSemaphore;  // posted by the ending thread, once for each stop request

    // Joined when the object is destroyed or starts again, never waited for: by then the thread has at most a
    // few instructions left. They are the library's own, so they must be over before the library can be
    // unloaded.
    pthread_t handle{};
    bool hasHandle = false;
    pid_t starter = 0;  // the process that the thread was started in, 0 before that
};

}  // namespace slib
