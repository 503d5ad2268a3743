#pragma once

// The frame that every al* call runs in, written once: lock, context, pointer, record, name, work. A call
// gives it the work alone, which returns the error code to record, AL_NO_ERROR for none. An exception out of
// the work is a failed call too: it is logged when logging is verbose and recorded as AL_INVALID_OPERATION.
// Nothing that the game set is changed unless the work says so. Included by the sources of the calls and
// nothing else.

#include <exception>
#include <functional>

#include "AL/tessarune.h"
#include "app/goaldll/callframe.h"
#include "app/goaldll/process.h"

namespace goal {

/// The longest list of names that a call takes. A longer one is refused, before it is read, as if there were
/// no memory for it: no game means it, and so many sources would not fit a machine.
inline constexpr ALsizei longestList = 1 << 20;

/// What a call does to the record that it works on.
enum class Access {
    Read,       ///< reads what only the game writes: no lock beyond apiMutex
    ReadMoved,  ///< reads what the renderer moves too: holds stateMutex
    Write,      ///< changes something: holds stateMutex, unless the context is suspended
    WriteAll,   ///< changes something, and needs effects, filters or the play state view: holds stateMutex
};

/// Runs `work(process)` under apiMutex; no context is needed. `failure` is returned after an exception.
template <typename Result, typename Work>
Result AlCallFor(Result failure, const Work& work) noexcept {
    const CallFrame frame;
    Process& process = TheProcess();
    if (CallFrame::IsRefused()) {
        process.alError.Record(AL_INVALID_OPERATION);
        return failure;
    }
    process.engine.retired.Empty();
    const ApiLock lock(process);
    process.TakeProfile();
    try {
        return std::invoke(work, process);  // clang takes `work` for the argument of its own annotation
    } catch (const std::exception& exception) {
        process.FailAl(exception.what(), AL_INVALID_OPERATION);
        return failure;
    }
}

/// Runs `work(process)`, which returns an error code, under apiMutex, and records the code.
template <typename Work>
void AlCall(const Work& work) noexcept {
    AlCallFor(false, [&](Process& process) SLIB_REQUIRES(process.engine.apiMutex) {
        if (const int code = std::invoke(work, process); code != AL_NO_ERROR) process.AlErrors().Record(code);
        return true;
    });
}

/// True when no pointer is null.
template <typename... Pointers>
bool ArePresent(Pointers*... pointers) {
    return (... && (pointers != nullptr));
}

/// Holds stateMutex where the access needs it.
class StateLock {
public:
    // The lock depends on the access, which the analysis can't tell.
    StateLock(Context& context, Access access) SLIB_UNCHECKED_LOCKS {
        const bool wanted = access == Access::WriteAll || access == Access::ReadMoved ||
                            (access == Access::Write && context.suspendCount == 0);
        if (!wanted) return;
        context.stateMutex.Lock();
        mutex = &context.stateMutex;
    }
    ~StateLock() SLIB_UNCHECKED_LOCKS {
        if (mutex != nullptr) mutex->Unlock();
    }
    StateLock(const StateLock&) = delete;
    StateLock& operator=(const StateLock&) = delete;

private:
    slib::Mutex* mutex = nullptr;
};

/// Runs `work(process, context)` with the current context and the lock that `access` needs. Without a context
/// the call fails with AL_INVALID_OPERATION, and then without its pointers (`pointersPresent` false) with
/// AL_INVALID_VALUE.
template <typename Work>
void ContextCall(Access access, bool pointersPresent, const Work& work) noexcept {
    AlCall([&](Process& process) SLIB_REQUIRES(process.engine.apiMutex) -> int {
        Context* const context = CurrentContext(process);
        if (context == nullptr) return AL_INVALID_OPERATION;
        if (!pointersPresent) return AL_INVALID_VALUE;
        const StateLock lock(*context, access);
        return work(process, *context);
    });
}

/// Runs `work(state)` with the record that calls work on (see TargetState).
template <typename Work>
void StateCall(Access access, bool pointersPresent, const Work& work) noexcept {
    ContextCall(access, pointersPresent,
                [&](Process&, Context& context) -> int { return work(TargetState(context)); });
}

/// Runs `work(source)` with a live source: a SourceAccess of `name`. Any other name fails with
/// AL_INVALID_NAME.
template <typename Work>
void SourceCall(ALuint name, Access access, bool pointersPresent, const Work& work) noexcept {
    ContextCall(access, pointersPresent, [&](Process& process, Context& context) -> int {
        if (!IsLive(TargetState(context).sources, name)) return AL_INVALID_NAME;
        return work(SourceAccess(process.engine, context, name - 1));
    });
}

}  // namespace goal
