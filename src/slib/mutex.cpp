#include "slib/mutex.h"

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

void Mutex::Lock() {
    [[maybe_unused]] const int code = pthread_mutex_lock(&handle);
    assert(code == 0);
}

void Mutex::Unlock() {
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
    while (sem_wait(&handle) != 0) {
        // Only a signal handler of the game can interrupt the wait.
        assert(errno == EINTR);
    }
}

void Semaphore::Post(std::uint32_t n) {
    for (; n > 0; --n)
        sem_post(&handle);
}

}  // namespace slib
