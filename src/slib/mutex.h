#pragma once

// The lock vocabulary of the whole system: a re-entrant mutex, its scoped holder and a counting semaphore.
// Nothing above this folder touches the operating system's own.

#include <pthread.h>
#include <semaphore.h>

#include <atomic>
#include <cstdint>

#include "slib/threadsafety.h"

namespace slib {

/// A re-entrant mutex: the thread that owns it may lock it again, and each lock needs its own unlock. Where
/// the system offers it the owner inherits the priority of the waiting thread, so that a game thread that
/// holds a mutex which the time-critical renderer wants isn't kept off the processor by something in between.
class SLIB_CAPABILITY("mutex") Mutex {
public:
    /// Throws OperatingSystemErrnoException when the system is out of resources.
    Mutex();
    ~Mutex();
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    /// Waits without time-out.
    void Lock() SLIB_ACQUIRE();
    /// Gives up one lock; the caller owns the mutex.
    void Unlock() SLIB_RELEASE();

    /// For a forked child, in which nobody gives back what other threads held at the fork: from now on no
    /// mutex of this process is locked, and no semaphore waits. Only one thread may use them from then on.
    static void GiveUpAll() noexcept { areGivenUp.store(true, std::memory_order_relaxed); }
    static bool AreGivenUp() noexcept { return areGivenUp.load(std::memory_order_relaxed); }

private:
    inline static std::atomic<bool> areGivenUp{false};
    pthread_mutex_t handle;
};

/// Holds a mutex for a scope. Release gives it up early, after which the end of the scope does nothing.
class SLIB_SCOPED_CAPABILITY Lock {
public:
    explicit Lock(Mutex& mutex) SLIB_ACQUIRE(mutex) : mutex(&mutex) { mutex.Lock(); }
    ~Lock() SLIB_RELEASE() { Release(); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

    void Release() SLIB_RELEASE() {
        if (mutex != nullptr) mutex->Unlock();
        mutex = nullptr;
    }

private:
    Mutex* mutex;
};

/// A counting semaphore with the initial count 0 and the greatest count 2147483647.
class Semaphore {
public:
    /// Throws OperatingSystemErrnoException when the system is out of resources.
    Semaphore();
    ~Semaphore();
    Semaphore(const Semaphore&) = delete;
    Semaphore& operator=(const Semaphore&) = delete;

    /// Waits without time-out until the count is above 0 and lowers it by 1.
    void Wait();
    /// As Wait, but for at most that long. False when the time is over.
    [[nodiscard]] bool WaitFor(std::uint32_t milliseconds);
    /// Raises the count by `n`, which may be 0.
    void Post(std::uint32_t n = 1);

private:
    sem_t handle;
};

}  // namespace slib
