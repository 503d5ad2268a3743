#include "goal/render/sendstage.h"

#include <array>

#include "goal/dsp/antidenormal.h"
#include "goal/dsp/filterstage.h"
#include "numeric/ambisonicorder.h"
#include "numeric/kernels/gainkernel.h"

namespace goal {
namespace {

// What the weights of a send into a whole field move per sample.
constexpr float fieldStep = 0.005F;

// As many as their filters run side by side.
constexpr std::uint32_t sendsAtOnce = 16;

// A send without a target keeps clean memory.
void Forget(SourceFilterState& state) {
    reset(state);
    state.coefficientsValid = false;
}

}  // namespace

SendStage::SendStage(std::uint32_t frames, std::uint32_t spatialChannels, bool directional,
                     const FilterGainTables& tables, int defaultFilterOrder)
    : frames(frames),
      spatialChannels(spatialChannels),
      directional(directional),
      tables(tables),
      defaultFilterOrder(defaultFilterOrder) {
    mono.resize(frames);
}

void SendStage::Sync(const RenderSnapshot& snapshot,
                     std::span<const std::unique_ptr<EffectProcessorState>> effects) {
    if (slots.size() < snapshot.slots.size) slots.resize(snapshot.slots.size);
    for (std::uint32_t i = 0; i < snapshot.slots.size; ++i)
        SyncSlot(slots[i], snapshot.slots[i], effects[i].get());
}

void SendStage::SyncSlot(Slot& slot, const AuxSlotParameters& parameters,
                         const EffectProcessorState* effect) const {
    if (effect == nullptr) {
        slot.sends.reset();
        return slot.input.resize(0, 0);
    }
    slot.target = {.inputKind = effect->inputKind,
                   .auxiliarySendAuto = parameters.auxiliarySendAuto,
                   .room = parameters.effect ? parameters.effect->SendRoom() : RoomOfSends()};
    std::uint32_t channels = 1;
    if (slot.target.inputKind == EffectInput::Field) channels = spatialChannels;
    if (slot.target.inputKind == EffectInput::Reverb && directional) channels = 4;
    if (slot.input.channelCount != channels)
        slot.sends = std::make_unique<MixBatch>(frames, channels, sendsAtOnce);
    slot.input.resize(frames, channels);
    slot.input.clear();
    ApplyAntiDenormalPattern(slot.input);
}

// A name beyond the table, or of a slot without an effect, has no target.
SendStage::Slot* SendStage::Live(std::uint32_t slotName) {
    if (slotName == 0 || slotName > slots.size()) return nullptr;
    Slot& slot = slots[slotName - 1];
    return slot.input.channelCount > 0 ? &slot : nullptr;
}

const hcml::ac::Bus& SendStage::Input(std::uint32_t index) {
    Slot& slot = slots[index];
    if (slot.sends != nullptr) slot.sends->Flush(slot.input);
    return slot.input;
}

// Writes into the next row. False when there is nothing to add.
bool SendStage::Filter(const FilterParameters& filter, SourceFilterState& state,
                       const hcml::FloatTupleVector& samples, const SendGains& gains, float floorScale,
                       MixBatch& sends) const {
    const FilterStageSettings settings{.gainFactor = gains.gain,
                                       .hfFactor = gains.gainHF,
                                       .floorScale = floorScale,
                                       .defaultOrder = defaultFilterOrder};
    const bool isHeard = IsFinite(gains) && !FilterOneLater(filter, state, samples, sends.Row(), tables,
                                                            settings, sends.Waiting());
    if (!isHeard) state.coefficientsValid = false;
    return isHeard;
}

void SendStage::SendMono(const Source& source, SourceRendererState& state, const RenderSnapshot& snapshot,
                         const SourceGeometry& geometry, const hcml::FloatTupleVector& samples, float scale) {
    for (std::uint32_t i = 0; i < source.sends.size; ++i) {
        const SourceBaseParameters::AuxSend& send = source.sends[i];
        SourceFilterState& memory = state.sends[i];
        Slot* const slot = Live(send.slotName);
        if (slot == nullptr) {
            Forget(memory);
            continue;
        }
        const SendGains gains = ComputeSendGains(source, snapshot, geometry, slot->target);
        if (Filter(send.filter, memory, samples, gains, 1, *slot->sends))
            AddMono(*slot, memory, geometry, scale);
    }
}

void SendStage::SendMultiChannel(const Source& source, SourceRendererState& state,
                                 const hcml::ac::Bus& samples, bool isBFormat, float scale) {
    if (source.sends.size == 0) return;
    mono.clear();
    for (std::uint32_t c = 0; c < (isBFormat ? 1 : samples.channelCount); ++c)
        hcml::MultiplyAddRow(mono.data, samples.channels[c], 1, samples.vectors);
    constexpr std::array<float, hcml::mostBusChannels> weights{1};
    const SendGains gains{source.gain * scale / static_cast<float>(samples.channelCount), 1};
    for (std::uint32_t i = 0; i < source.sends.size; ++i) {
        Slot* const slot = Live(source.sends[i].slotName);
        if (slot == nullptr)
            Forget(state.sends[i]);
        else if (Filter(source.sends[i].filter, state.sends[i], mono, gains, scale, *slot->sends))
            slot->sends->Add(weights.data(), slot->input);
    }
}

// A reverb takes one channel, or the axes as well.
void SendStage::AddMono(Slot& slot, SourceFilterState& state, const SourceGeometry& geometry,
                        float scale) const {
    std::array<float, hcml::mostBusChannels> weights{scale};
    if (slot.target.inputKind == EffectInput::Field) {
        for (std::uint32_t c = 0; c < spatialChannels; ++c)
            weights[c] = geometry.encode[c] * scale;
        return slot.sends->AddMoving(weights.data(), state, fieldStep, slot.input);
    }
    state.coefficientsValid = false;
    for (std::uint32_t c = 1; c < slot.input.channelCount; ++c)
        weights[c] = scale * geometry.direction[c - 1];
    slot.sends->Add(weights.data(), slot.input);
}

}  // namespace goal
