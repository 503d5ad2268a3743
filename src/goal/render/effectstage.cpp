#include "goal/render/effectstage.h"

#include <algorithm>

#include "numeric/kernels/finitekernel.h"
#include "numeric/kernels/gainkernel.h"
#include "slib/exception.h"

namespace goal {
namespace {

// The largest arrangement that an effect may use.
constexpr std::uint32_t mostArrangementChannels = 8;

// What an effect's channels are added to.
struct Target {
    float* const* channels = nullptr;
    std::uint32_t channelCount = 0;  // 0: the effect is heard nowhere
    bool* isUsed = nullptr;          // to be set; null where nothing is to be set
    bool isStale = false;            // it still holds an earlier block
};

Target OfBus(ArrayBus& bus) {
    return {bus.mix.channels, bus.mix.channelCount, &bus.hasContent};
}

Target OfDedicated(hcml::FloatTupleVector& row, bool& isWritten) {
    return {&row.data, 1, &isWritten, !isWritten};
}

Target TargetOf(EffectOutput kind, ArrayBuses& arrays, RenderOutput& output) {
    switch (kind) {
        case EffectOutput::Mono:
            return OfBus(arrays[Arrangement::Mono]);
        case EffectOutput::Stereo:
            return OfBus(arrays[Arrangement::Stereo]);
        case EffectOutput::Quad:
            return OfBus(arrays[Arrangement::Quad]);
        case EffectOutput::Surround51:
            return OfBus(arrays[Arrangement::Surround51]);
        case EffectOutput::Surround71:
            return OfBus(arrays[Arrangement::Surround71]);
        case EffectOutput::Field:
            return {output.spatial.channels, output.spatial.channelCount};
        case EffectOutput::LowFrequency:
            if (!output.hasLowFrequency) return {};
            return OfDedicated(output.lowFrequency, output.lowFrequencyWritten);
        case EffectOutput::Dialogue:
            if (!output.hasDialogue) return OfBus(arrays[Arrangement::Front]);
            return OfDedicated(output.dialogue, output.dialogueWritten);
    }
    slib::ThrowUnreachable();
}

bool IsFinite(const hcml::ac::Bus& bus, std::uint32_t channelCount) {
    return std::all_of(bus.channels, bus.channels + channelCount,
                       [&](const float* row) { return hcml::IsFiniteRow(row, bus.frames); });
}

void AddTo(const Target& target, const hcml::ac::Bus& wet) {
    const std::size_t length = std::size_t{wet.vectors} * 4;
    for (std::uint32_t c = 0; c < target.channelCount; ++c) {
        float* const sum = target.channels[c];
        if (target.isStale) std::fill_n(sum, length, 0.0F);
        hcml::MultiplyAddRow(sum, wet.channels[c], 1, wet.vectors);
    }
    if (target.isUsed != nullptr) *target.isUsed = true;
}

}  // namespace

EffectStage::EffectStage(const RenderContext& context, std::uint32_t spatialChannels)
    : builder(std::make_shared<const SlotEffectBuilder>(context, spatialChannels)),
      gains(WetGains::Make(context)),
      wet(context.blockFrames, std::max(spatialChannels, mostArrangementChannels)) {}

void EffectStage::Renew(const RenderSnapshot& snapshot) const {
    snapshot.activeSlots.ForEach([&](std::uint32_t i) {
        const RenderedSlot& slot = snapshot.slots[i];
        for (RunningEffect* running : {slot.effect.get(), slot.tail.get()}) {
            auto* const effect = static_cast<SlotEffect*>(running);
            if (effect != nullptr && effect->state == nullptr) builder->Renew(*effect);
        }
    });
}

void EffectStage::Run(const RenderSnapshot& snapshot, ArrayBuses& arrays, RenderOutput& output) {
    snapshot.activeSlots.ForEach([&](std::uint32_t i) {
        const RenderedSlot& slot = snapshot.slots[i];
        if (slot.effect) {
            SlotEffect& effect = EffectOf(slot);
            // Also for an effect without an output: its waiting sends refer to data of this block.
            Gather(effect);
            effect.slotGain = slot.gain;
            RunEffect(effect, EffectStay::InSlot, snapshot, arrays, output);
        }
        if (slot.tail) {
            const EffectStay stay = slot.isTailInTheWay ? EffectStay::TailInTheWay : EffectStay::Tail;
            RunEffect(static_cast<SlotEffect&>(*slot.tail), stay, snapshot, arrays, output);
        }
    });
}

void EffectStage::RunEffect(SlotEffect& effect, EffectStay stay, const GlobalParameters& globals,
                            ArrayBuses& arrays, RenderOutput& output) {
    const float ownGain = gains->Move(effect, stay);
    const Target target = TargetOf(effect.state->outputKind, arrays, output);
    if (target.channelCount == 0) return;
    Process(effect, ownGain, globals, target.channelCount);
    if (!IsFinite(wet, target.channelCount)) return effect.state.reset();
    gains->Apply(wet, target.channelCount);
    AddTo(target, wet);
}

// The effect has the wet bus to itself, so that it can be left out.
void EffectStage::Process(SlotEffect& effect, float gain, const GlobalParameters& globals,
                          std::uint32_t channelCount) {
    for (std::uint32_t c = 0; c < channelCount; ++c)
        std::fill_n(wet.channels[c], std::size_t{wet.vectors} * 4, 0.0F);
    effect.state->process({.parameters = effect.parameters.Get(),
                           .input = effect.input.channels,
                           .output = wet.channels,
                           .frames = effect.input.frames,
                           .vectors = effect.input.vectors,
                           .slotGain = gain,
                           .speedOfSound = globals.speedOfSound,
                           .metresPerUnit = globals.metersPerUnit});
}

}  // namespace goal
