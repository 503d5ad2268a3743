#include "slib/mutex.h"

#include <time.h>
#include <cassert>
#include <cerrno>

#include "slib/exception.h"

namespace slib {
namespace {

// Returns 0, or the code of the failure.
int CreateRecursiveMutex(pthread_mutex_t& handle, int protocol) {
    pthread_mutexattr_t attributes;
    if (const int code = pthread_mutexattr_init(&attributes); code != 0) return code;
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutexattr_setprotocol(&attributes, protocol);
    const int code = pthread_mutex_init(&handle, &attributes);
    pthread_mutexattr_destroy(&attributes);
    return code;
}

}  // namespace

Mutex::Mutex() {
    int code = CreateRecursiveMutex(handle, PTHREAD_PRIO_INHERIT);
    if (code == ENOTSUP) code = CreateRecursiveMutex(handle, PTHREAD_PRIO_NONE);
    if (code == 0) return;
    errno = code;
    throw OperatingSystemErrnoException("A mutex could not be created.");
}

Mutex::~Mutex() {
    pthread_mutex_destroy(&handle);
}

void Mutex::Lock() SLIB_UNCHECKED_LOCKS {  // this is the lock
    if (AreGivenUp()) return;
    [[maybe_unused]] const int code = pthread_mutex_lock(&handle);
    assert(code == 0);
}

void Mutex::Unlock() SLIB_UNCHECKED_LOCKS {
    if (AreGivenUp()) return;
    [[maybe_unused]] const int code = pthread_mutex_unlock(&handle);
    assert(code == 0);
}

Semaphore::Semaphore() {
    if (sem_init(&handle, 0, 0) != 0)
        throw OperatingSystemErrnoException("A semaphore could not be created.");
}

Semaphore::~Semaphore() {
    sem_destroy(&handle);
}

void Semaphore::Wait() {
    while (!Mutex::AreGivenUp() && sem_wait(&handle) != 0) {
        // Only a signal handler of the game can interrupt the wait.
        assert(errno == EINTR);
    }
}

bool Semaphore::WaitFor(std::uint32_t milliseconds) {
    timespec end{};
    clock_gettime(CLOCK_MONOTONIC, &end);
    const long nanoseconds = end.tv_nsec + milliseconds % 1000 * 1'000'000L;
    end.tv_sec += milliseconds / 1000 + nanoseconds / 1'000'000'000;
    end.tv_nsec = nanoseconds % 1'000'000'000;
    int code = 0;
    while ((code = sem_clockwait(&handle, CLOCK_MONOTONIC, &end)) != 0 && errno == EINTR) {
    }
    return code == 0;
}

void Semaphore::Post(std::uint32_t n) {
    for (; n > 0; --n)
        sem_post(&handle);
}

}  // namespace slib
