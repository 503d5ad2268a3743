// Stands before the C library in a program, and fails one of its calls when told: the n-th of a kind, counted
// over all threads from FailAt on. Linked as a shared library, so that the calls of the library under test
// come by here, too.
#include "tests/faults/failingcalls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace {

std::atomic<CallKind> failingKind{NoCalls};
std::atomic<long> callsLeft{0};
std::atomic<long> callsMade{0};

bool Fails(CallKind kind) {
    if (failingKind != kind) return false;
    ++callsMade;
    return callsLeft-- == 0;
}

// The function of that name in the C library.
template <typename Function>
Function* Next(Function*, const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}
#define NEXT(name) Next(&(name), #name)

// What a call that failed answers.
template <typename Answer>
Answer Failure(int code, Answer answer) {
    errno = code;
    return answer;
}

}  // namespace

// glibc's own names of its allocator.
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);

void FailAt(CallKind kind, long n) {
    callsMade = 0;
    callsLeft = n;
    failingKind = kind;
}

long CallsMade() {
    return callsMade;
}

void* malloc(size_t size) noexcept {
    return Fails(MemoryCalls) ? Failure<void*>(ENOMEM, nullptr) : __libc_malloc(size);
}

void* calloc(size_t count, size_t size) noexcept {
    return Fails(MemoryCalls) ? Failure<void*>(ENOMEM, nullptr) : __libc_calloc(count, size);
}

void* realloc(void* block, size_t size) noexcept {
    return Fails(MemoryCalls) ? Failure<void*>(ENOMEM, nullptr) : __libc_realloc(block, size);
}

void* memalign(size_t alignment, size_t size) noexcept {
    return Fails(MemoryCalls) ? Failure<void*>(ENOMEM, nullptr) : __libc_memalign(alignment, size);
}

void* aligned_alloc(size_t alignment, size_t size) noexcept {
    return memalign(alignment, size);
}

int posix_memalign(void** block, size_t alignment, size_t size) noexcept {
    *block = memalign(alignment, size);
    return *block == nullptr ? ENOMEM : 0;
}

int open(const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return Fails(OpenCalls) ? Failure(EMFILE, -1) : NEXT(open)(path, flags, mode);
}

int open64(const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return open(path, flags, mode);
}

FILE* fopen(const char* path, const char* mode) {
    return Fails(OpenCalls) ? Failure<FILE*>(EMFILE, nullptr) : NEXT(fopen)(path, mode);
}

FILE* fopen64(const char* path, const char* mode) {
    return fopen(path, mode);
}

ssize_t write(int file, const void* bytes, size_t count) {
    return Fails(WriteCalls) ? Failure<ssize_t>(ENOSPC, -1) : NEXT(write)(file, bytes, count);
}

int rename(const char* from, const char* to) noexcept {
    return Fails(RenameCalls) ? Failure(EACCES, -1) : NEXT(rename)(from, to);
}

int fsync(int file) {
    return Fails(RenameCalls) ? Failure(EIO, -1) : NEXT(fsync)(file);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*),
                   void* argument) noexcept {
    return Fails(ThreadCalls) ? EAGAIN : NEXT(pthread_create)(thread, attributes, run, argument);
}

int pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) noexcept {
    return Fails(MutexCalls) ? EAGAIN : NEXT(pthread_mutex_init)(mutex, attributes);
}

int sem_init(sem_t* semaphore, int shared, unsigned value) noexcept {
    return Fails(MutexCalls) ? Failure(ENOSPC, -1) : NEXT(sem_init)(semaphore, shared, value);
}

void* mmap(void* address, size_t length, int protection, int flags, int file, off_t offset) noexcept {
    return Fails(MapCalls) ? Failure(ENOMEM, MAP_FAILED)
                           : NEXT(mmap)(address, length, protection, flags, file, offset);
}

void* mmap64(void* address, size_t length, int protection, int flags, int file, off64_t offset) noexcept {
    return mmap(address, length, protection, flags, file, offset);
}
}
