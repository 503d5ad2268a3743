#pragma once

// What every exported call stands in, on the game's thread, whatever state the game's thread is in.

#include <pthread.h>

#include "app/goaldll/process.h"
#include "slib/floatenvironment.h"
#include "slib/mutex.h"

namespace goal {

/// For the length of a call the thread's floating-point environment is the default one, so that no arithmetic
/// of ours traps and all of it comes to the same bits. Costs some nanoseconds; may be nested.
class CallFrame {
public:
    CallFrame() = default;
    CallFrame(const CallFrame&) = delete;
    CallFrame& operator=(const CallFrame&) = delete;

    /// True in a child that the game forked while there was sound: the call does nothing, and fails.
    static bool IsRefused() { return slib::Mutex::AreGivenUp(); }

private:
    const slib::DefaultFloatEnvironment floatEnvironment;
};

/// While this lives the thread isn't cancelled, so that no lock stays held. It stands where a call may wait,
/// or reads or writes a file: all alc* calls, and the log of a failure. What else the al* calls do is no
/// point where a thread is cancelled.
class CancellationHeldOff {
public:
    CancellationHeldOff() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before); }
    ~CancellationHeldOff() { pthread_setcancelstate(before, nullptr); }
    CancellationHeldOff(const CancellationHeldOff&) = delete;
    CancellationHeldOff& operator=(const CancellationHeldOff&) = delete;

private:
    int before = 0;
};

/// Holds apiMutex, and notes for a fork that a call is under way.
class SLIB_SCOPED_CAPABILITY ApiLock {
public:
    explicit ApiLock(Process& process) SLIB_ACQUIRE(process.engine.apiMutex) : process(process) {
        process.engine.apiMutex.Lock();
        ++process.callsUnderWay;
    }
    ~ApiLock() SLIB_RELEASE() {
        --process.callsUnderWay;
        process.engine.apiMutex.Unlock();
    }
    ApiLock(const ApiLock&) = delete;
    ApiLock& operator=(const ApiLock&) = delete;

private:
    Process& process;
};

}  // namespace goal
