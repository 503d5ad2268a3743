#include "goal/render/sloteffect.h"

#include <new>

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

std::unique_ptr<RunningEffect> SlotEffectBuilder::Build(const EffectProcessorParameters& parameters) const {
    try {
        auto effect = std::make_unique<SlotEffect>();
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
