#pragma once

// Calls of the C library that fail when a test says so (failingcalls.c).

#ifdef __cplusplus
extern "C" {
#endif

enum CallKind { NoCalls, MemoryCalls, OpenCalls, WriteCalls, RenameCalls, ThreadCalls, MutexCalls, MapCalls };

/// From now on the call number `n` of that kind fails, from 0 on, and no other.
void FailAt(enum CallKind kind, long n);

/// How many calls of the kind there were since.
long CallsMade(void);

#ifdef __cplusplus
}
#endif
