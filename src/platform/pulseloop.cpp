#include "platform/pulseloop.h"

#include <errno.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <utility>

namespace platform {
namespace {

// 0 for a descriptor that isn't open.
ino_t FileOf(int descriptor) {
    struct stat now {};
    return fstat(descriptor, &now) == 0 ? now.st_ino : 0;
}

}  // namespace

PulseLoop::PulseLoop()
    : loop(Pulse().library.problem.empty() ? Pulse().newLoop() : nullptr),
      witness(memfd_create("witness", MFD_CLOEXEC)),
      witnessFile(FileOf(witness)) {}

PulseLoop::~PulseLoop() {
    End();
    if (IsHere() && IsIntact()) close(witness);
}

bool PulseLoop::IsIntact() const {
    return witnessFile != 0 && FileOf(witness) == witnessFile;
}

void PulseLoop::End() {
    if (!IsHere() || loop == nullptr) return;
    {
        const PulseLock lock(*this);
        if (context != nullptr) {
            Pulse().onContextState(context, nullptr, nullptr);
            Pulse().onEvent(context, nullptr, nullptr);
        }
        if (context != nullptr && IsIntact()) {
            Pulse().disconnect(context);
            Pulse().unrefContext(context);
        }
    }
    Pulse().stopLoop(loop);
    pa_threaded_mainloop* const ended = std::exchange(loop, nullptr);
    if (IsIntact()) Pulse().freeLoop(ended);
}

bool PulseLoop::Connect() {
    if (loop == nullptr || !IsIntact()) return false;
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
