#include "goal/render/sloteffect.h"

#include <atomic>
#include <new>

#include "goal/dsp/antidenormal.h"
#include "slib/exception.h"

namespace goal {
namespace {

// As many as their filters run side by side.
constexpr std::uint32_t sendsAtOnce = 16;

// Of the input of an effect. A reverb takes one channel, or the axes as well.
std::uint32_t InputChannels(EffectInput kind, bool isDirectional, std::uint32_t spatialChannels) {
    switch (kind) {
        case EffectInput::Mono:
            return 1;
        case EffectInput::Reverb:
            return isDirectional ? 4 : 1;
        case EffectInput::Field:
            return spatialChannels;
    }
    slib::ThrowUnreachable();
}

}  // namespace

void ClearInputs(const RenderSnapshot& snapshot) {
    const auto clear = [](RunningEffect& running) {
        hcml::ac::Bus& input = static_cast<SlotEffect&>(running).input;
        input.clear();
        ApplyAntiDenormalPattern(input);
    };
    snapshot.activeSlots.ForEach([&](std::uint32_t i) {
        const RenderedSlot& slot = snapshot.slots[i];
        if (slot.tail) clear(*slot.tail);
        if (!slot.effect) return;
        SlotEffect& effect = EffectOf(slot);
        effect.target.auxiliarySendAuto = slot.auxiliarySendAuto;
        effect.target.room = effect.parameters->SendRoom();
        clear(effect);
    });
}

SlotEffect* TargetOf(const SourceBaseParameters::AuxSend& send, const RenderSnapshot& snapshot) {
    const std::uint32_t index = send.slotName - 1;
    if (send.slotName == 0 || !snapshot.activeSlots.Contains(index) || !snapshot.slots[index].effect)
        return nullptr;
    SlotEffect& effect = EffectOf(snapshot.slots[index]);
    return effect.slotSerial == send.slotSerial && !effect.isLeaving ? &effect : nullptr;
}

std::unique_ptr<RunningEffect> SlotEffectBuilder::Build(const EffectProcessorParameters& parameters) const {
    try {
        static std::atomic<std::uint64_t> lastId{0};
        auto effect = std::make_unique<SlotEffect>();
        effect->id = ++lastId;
        effect->parameters = EffectParametersPtr(parameters.clone().release());
        Renew(*effect);
        const EffectInput kind = effect->state->inputKind;
        const std::uint32_t channels =
            InputChannels(kind, context.useDirectionalEarlyReflections, spatialChannels);
        effect->input.resize(context.blockFrames, channels);
        effect->sends = std::make_unique<MixBatch>(context.blockFrames, channels, sendsAtOnce);
        effect->target.inputKind = kind;
        return effect;
    } catch (const std::bad_alloc&) {
        throw slib::OutOfMemoryException();
    }
}

}  // namespace goal
