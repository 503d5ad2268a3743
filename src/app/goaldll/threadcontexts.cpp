#include "app/goaldll/threadcontexts.h"

#include "AL/alc.h"
#include "app/goaldll/callframe.h"
#include "slib/text.h"

namespace goal {
namespace {

// Refuses a handle that isn't the device's; the thread keeps the one that it had.
ALCboolean ALC_APIENTRY SetThreadContextCall(ALCcontext* handle) {
    const CallFrame frame;
    const CancellationHeldOff heldOff;
    Process& process = TheProcess();
    if (CallFrame::IsRefused()) {
        process.alcError.Record(ALC_INVALID_VALUE);
        return ALC_FALSE;
    }
    const ApiLock lock(process);
    auto* const context = reinterpret_cast<Context*>(handle);
    if (context != nullptr && !process.engine.device.contexts.Has(context)) {
        process.FailAlc("Invalid context in alcSetThreadContext().", ALC_INVALID_CONTEXT);
        return ALC_FALSE;
    }
    SetThreadContext(context);
    return ALC_TRUE;
}

ALCcontext* ALC_APIENTRY GetThreadContextCall() {
    const CallFrame frame;
    const CancellationHeldOff heldOff;
    if (CallFrame::IsRefused()) return nullptr;
    Process& process = TheProcess();
    const ApiLock lock(process);
    return reinterpret_cast<ALCcontext*>(ThreadContext(process));
}

const ProcRow rows[] = {
    {"alcSetThreadContext", reinterpret_cast<void*>(&SetThreadContextCall)},
    {"alcGetThreadContext", reinterpret_cast<void*>(&GetThreadContextCall)},
};

}  // namespace

std::span<const ProcRow> ThreadContextProcs() {
    return rows;
}

bool AllowsThreadContexts(Process& process, std::string_view name) noexcept {
    const bool isAskedFor =
        slib::EqualIgnoringCase(name, threadContextsName) || Find(ThreadContextProcs(), name);
    return isAskedFor ? process.profile.Allows(GameSwitch::ThreadContexts)
                      : process.profile.IsOn(GameSwitch::ThreadContexts);
}

}  // namespace goal
