#include "app/goaldll/stepping.h"

#include "AL/alc.h"
#include "app/goaldll/callframe.h"
#include "app/goaldll/process.h"

namespace goal {
namespace {

void ALC_APIENTRY Hold() {
    TheProcess().engine.gate.Close();
}

bool HasContext(Process& process) {
    const ApiLock lock(process);
    return process.engine.device.contexts.First() != nullptr;
}

ALCsizei ALC_APIENTRY Render(ALCint* frequency) {
    constexpr std::uint32_t patience = 10'000;  // ms
    const CancellationHeldOff heldOff;
    Process& process = TheProcess();
    if (CallFrame::IsRefused() || !process.engine.gate.IsClosed() || !HasContext(process)) return 0;
    const BlockGate::Block block = process.engine.gate.LetOneThrough(patience);
    *frequency = static_cast<ALCint>(block.sampleRate + 0.5);
    return static_cast<ALCsizei>(block.frames);
}

}  // namespace

void* SteppingEntry(std::string_view name) {
    if (name == holdName) return reinterpret_cast<void*>(&Hold);
    if (name == renderName) return reinterpret_cast<void*>(&Render);
    return nullptr;
}

}  // namespace goal
