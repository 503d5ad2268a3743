#include "platform/pulseloop.h"

#include <errno.h>

namespace platform {

PulseLoop::PulseLoop() : loop(Pulse().library.problem.empty() ? Pulse().newLoop() : nullptr) {}

void PulseLoop::End() {
    if (!IsHere() || loop == nullptr) return;
    {
        const PulseLock lock(*this);
        if (context != nullptr) {
            Pulse().onContextState(context, nullptr, nullptr);
            Pulse().onEvent(context, nullptr, nullptr);
            Pulse().disconnect(context);
            Pulse().unrefContext(context);
        }
    }
    Pulse().stopLoop(loop);
    Pulse().freeLoop(loop);
    loop = nullptr;
}

bool PulseLoop::Connect() {
    if (loop == nullptr) return false;
    {
        const PulseLock lock(*this);
        // Under this name the user finds the game in the server's mixer.
        context = Pulse().newContext(Pulse().loopApi(loop), program_invocation_short_name);
        if (context == nullptr) return false;
        const auto onState = [](pa_context*, void* self) { static_cast<PulseLoop*>(self)->Wake(); };
        Pulse().onContextState(context, onState, this);
        if (Pulse().connect(context, nullptr, PA_CONTEXT_NOFLAGS, nullptr) < 0) return false;
    }
    if (Pulse().startLoop(loop) < 0) return false;
    const PulseLock lock(*this);
    for (;;) {
        const pa_context_state_t state = Pulse().contextState(context);
        if (state == PA_CONTEXT_READY) return true;
        if (!PA_CONTEXT_IS_GOOD(state)) return false;
        Wait();
    }
}

void PulseLoop::Await(pa_operation* operation) const {
    if (operation == nullptr) return;
    while (Pulse().operationState(operation) == PA_OPERATION_RUNNING)
        Wait();
    Drop(operation);
}

void PulseLoop::Drop(pa_operation* operation) {
    if (operation != nullptr) Pulse().unrefOperation(operation);
}

}  // namespace platform
