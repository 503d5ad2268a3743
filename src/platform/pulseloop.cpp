#include "platform/pulseloop.h"

#include <errno.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <cstdint>
#include <memory>
#include <utility>

#include "slib/mutex.h"

namespace platform {
namespace {

// 0 for a descriptor that isn't open.
ino_t FileOf(int descriptor) {
    struct stat now {};
    return fstat(descriptor, &now) == 0 ? now.st_ino : 0;
}

// The library takes a thread that the system refused for one that has started. False then; the sign of life
// is lost.
bool StartThread(pa_threaded_mainloop* loop) {
    constexpr std::uint32_t longestStart = 1000;  // ms
    auto isAlive = std::make_unique<slib::Semaphore>();
    const auto onAlive = [](pa_mainloop_api* api, pa_defer_event* event, void* signal) {
        api->defer_free(event);
        static_cast<slib::Semaphore*>(signal)->Post();
    };
    pa_mainloop_api* const api = Pulse().loopApi(loop);
    api->defer_new(api, onAlive, isAlive.get());
    if (Pulse().startLoop(loop) < 0) return false;
    if (isAlive->WaitFor(longestStart)) return true;
    static_cast<void>(isAlive.release());  // for a thread that is only late
    return false;
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
    if (!StartThread(loop)) {
        const PulseLock lock(*this);
        Pulse().onContextState(context, nullptr, nullptr);
        loop = nullptr;  // nor does it end
        return false;
    }
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
