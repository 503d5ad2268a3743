// Stands before the C library in a program, and fails one of its calls when told: the n-th of a kind, counted
// over all threads from FailAt on. Linked as a shared library, so that the calls of the library under test
// come by here, too.
#define _GNU_SOURCE
#include "failingcalls.h"

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <semaphore.h>
#include <stdarg.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

static atomic_int failingKind = NoCalls;
static atomic_long callsLeft;
static atomic_long callsMade;

void FailAt(enum CallKind kind, long n) {
    atomic_store(&callsMade, 0);
    atomic_store(&callsLeft, n);
    atomic_store(&failingKind, (int)kind);
}

long CallsMade(void) {
    return atomic_load(&callsMade);
}

static int Fails(enum CallKind kind) {
    if (atomic_load(&failingKind) != (int)kind) return 0;
    atomic_fetch_add(&callsMade, 1);
    return atomic_fetch_sub(&callsLeft, 1) == 0;
}

// ---- Memory ----

extern void* __libc_malloc(size_t);
extern void* __libc_calloc(size_t, size_t);
extern void* __libc_realloc(void*, size_t);
extern void* __libc_memalign(size_t, size_t);

static void* NoMemory(void) {
    errno = ENOMEM;
    return NULL;
}

void* malloc(size_t size) {
    return Fails(MemoryCalls) ? NoMemory() : __libc_malloc(size);
}
void* calloc(size_t count, size_t size) {
    return Fails(MemoryCalls) ? NoMemory() : __libc_calloc(count, size);
}
void* realloc(void* block, size_t size) {
    return Fails(MemoryCalls) ? NoMemory() : __libc_realloc(block, size);
}
void* memalign(size_t alignment, size_t size) {
    return Fails(MemoryCalls) ? NoMemory() : __libc_memalign(alignment, size);
}
void* aligned_alloc(size_t alignment, size_t size) {
    return memalign(alignment, size);
}
int posix_memalign(void** block, size_t alignment, size_t size) {
    return (*block = memalign(alignment, size)) == NULL ? ENOMEM : 0;
}

// ---- The system ----

#define NEXT(name) ((__typeof__(&name))dlsym(RTLD_NEXT, #name))

#define OPEN(name)                                                                    \
    int name(const char* path, int flags, ...) {                                      \
        va_list rest;                                                                 \
        va_start(rest, flags);                                                        \
        const mode_t mode = flags & (O_CREAT | O_TMPFILE) ? va_arg(rest, mode_t) : 0; \
        va_end(rest);                                                                 \
        if (!Fails(OpenCalls)) return NEXT(name)(path, flags, mode);                  \
        errno = EMFILE;                                                               \
        return -1;                                                                    \
    }
OPEN(open)
OPEN(open64)

#define FOPEN(name)                                           \
    FILE* name(const char* path, const char* mode) {          \
        if (!Fails(OpenCalls)) return NEXT(name)(path, mode); \
        errno = EMFILE;                                       \
        return NULL;                                          \
    }
FOPEN(fopen)
FOPEN(fopen64)

ssize_t write(int file, const void* bytes, size_t count) {
    if (!Fails(WriteCalls)) return NEXT(write)(file, bytes, count);
    errno = ENOSPC;
    return -1;
}

int rename(const char* from, const char* to) {
    if (!Fails(RenameCalls)) return NEXT(rename)(from, to);
    errno = EACCES;
    return -1;
}

int fsync(int file) {
    if (!Fails(RenameCalls)) return NEXT(fsync)(file);
    errno = EIO;
    return -1;
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*), void* argument) {
    return Fails(ThreadCalls) ? EAGAIN : NEXT(pthread_create)(thread, attributes, run, argument);
}

int pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) {
    return Fails(MutexCalls) ? EAGAIN : NEXT(pthread_mutex_init)(mutex, attributes);
}

int sem_init(sem_t* semaphore, int shared, unsigned value) {
    if (!Fails(MutexCalls)) return NEXT(sem_init)(semaphore, shared, value);
    errno = ENOSPC;
    return -1;
}

void* mmap(void* address, size_t length, int protection, int flags, int file, off_t offset) {
    if (!Fails(MapCalls)) return NEXT(mmap)(address, length, protection, flags, file, offset);
    errno = ENOMEM;
    return MAP_FAILED;
}
