#pragma once

// Calls of the C library that fail when a test says so (failingcalls.cpp).

extern "C" {

enum CallKind { NoCalls, MemoryCalls, OpenCalls, WriteCalls, RenameCalls, ThreadCalls, MutexCalls, MapCalls };

/// From now on the call number `n` of that kind fails, from 0 on, and no other.
void FailAt(CallKind kind, long n);

/// How many calls of the kind there were since.
long CallsMade();
}
