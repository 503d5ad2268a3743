#include "app/goaldll/stepping.h"

#include <vector>

#include "AL/alc.h"
#include "app/goaldll/callframe.h"
#include "app/goaldll/process.h"

namespace goal {
namespace {

void ALC_APIENTRY Hold() {
    TheProcess().engine.isStepped = true;
}

std::vector<BlockGate*> Gates(Process& process) {
    const ApiLock lock(process);
    std::vector<BlockGate*> gates;
    process.engine.device.contexts.ForEach([&](Context& context) { gates.push_back(&context.gate); });
    return gates;
}

ALCsizei ALC_APIENTRY Render(ALCint* frequency) {
    constexpr std::uint32_t patience = 10'000;  // ms
    const CancellationHeldOff heldOff;
    Process& process = TheProcess();
    if (CallFrame::IsRefused() || !process.engine.isStepped) return 0;
    BlockGate::Block block;
    for (BlockGate* const gate : Gates(process)) {
        const BlockGate::Block one = gate->LetOneThrough(patience);
        if (block.frames == 0) block = one;
    }
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
