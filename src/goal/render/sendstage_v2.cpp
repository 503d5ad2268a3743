#include "goal/render/sendstage_v2.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "goal/dsp/filterstage.h"
#include "numeric/ambisonicorder.h"
#include "numeric/kernels/gainkernel.h"

namespace goal {
namespace {

using Weights = std::array<float, hcml::mostBusChannels>;

// The effect that the send still goes to, if it is still there.
SlotEffect* EffectOfState(const SendState& state, const RenderSnapshot& snapshot) {
    if (state.effect == 0 || !snapshot.activeSlots.Contains(state.slot)) return nullptr;
    const RenderedSlot& slot = snapshot.slots[state.slot];
    return slot.effect && slot.effect->id == state.effect ? &EffectOf(slot) : nullptr;
}

// A reverb takes one channel, or the axes as well.
void SetWeights(Weights& weights, const SlotEffect& effect, const SourceGeometry& geometry, float gain) {
    const bool isField = effect.target.inputKind == EffectInput::Field;
    weights[0] = isField ? gain * geometry.encode[0] : gain;
    for (std::uint32_t c = 1; c < effect.input.channelCount; ++c)
        weights[c] = gain * (isField ? geometry.encode[c] : geometry.direction[c - 1]);
}

}  // namespace

SendStage_v2::SendStage_v2(const WeightMover& mover, const FilterGainTables& tables, std::uint32_t frames,
                           int defaultFilterOrder)
    : mover(mover), tables(tables), defaultFilterOrder(defaultFilterOrder) {
    mono.resize(frames);
}

// Where the send goes in this block; null for nowhere. `jumps` says that it begins to leave, or comes back.
SlotEffect* SendStage_v2::EffectFor(const SourceBaseParameters::AuxSend& send, SendState& state,
                                    const Voice& voice, const RenderSnapshot& snapshot, bool& jumps) const {
    SlotEffect* const wanted = voice.isEnding ? nullptr : TargetOf(send, snapshot);
    SlotEffect* const present = EffectOfState(state, snapshot);
    const bool isLeaving = wanted != present;
    const bool isSilent = !state.coefficientsValid || IsAtZero(state);
    if (present != nullptr && !(isLeaving && isSilent)) {
        jumps = std::exchange(state.isLeaving, isLeaving) != isLeaving;
        return present;
    }
    reset(state);
    state.coefficientsValid = state.isLeaving = false;
    state.effect = wanted != nullptr ? wanted->id : 0;
    state.slot = send.slotName - 1;
    return wanted;
}

void SendStage_v2::Send(const Path& path, SendState& state, const Voice& voice,
                        const SourceGeometry& geometry, const SendGains& gains,
                        const hcml::FloatTupleVector& samples, float scale) const {
    const auto& [effect, filter, jumps] = path;
    if (!IsFinite(gains)) {
        state.coefficientsValid = false;
        return;
    }
    const float gain = state.isLeaving ? 0 : UsableGain(filter.gain * gains.gain);
    if (gain == 0 && IsAtZero(state)) return reset(state);
    if (!state.coefficientsValid && !voice.memory.keepsAttack) BeginSilent(state);
    FilterParameters shelves = filter;
    shelves.gain = 1;
    const FilterStageSettings settings{.hfFactor = gains.gainHF, .defaultOrder = defaultFilterOrder};
    MixBatch& batch = *effect.sends;
    if (PassesAsItIs(shelves, state, settings)) {
        std::copy_n(samples.data, std::size_t{samples.tuples} * 4, batch.Row().data);
    } else if (FilterOneLater(shelves, state, samples, batch.Row(), tables, settings, batch.Waiting())) {
        state.coefficientsValid = false;
        return;
    }
    Weights weights;
    SetWeights(weights, effect, geometry, gain);
    const bool hasJumped = jumps || (voice.memory.motion.hasJumped && !state.isLeaving);
    mover.Add(state, weights.data(), hasJumped, scale, batch, effect.input);
}

void SendStage_v2::SendMono(Voice& voice, const RenderSnapshot& snapshot, const SourceGeometry& geometry,
                            const hcml::FloatTupleVector& samples, float scale) {
    const Source& source = voice.source;
    for (std::uint32_t i = 0; i < source.sends.size; ++i) {
        SendState& state = voice.memory.sends[i];
        bool jumps = false;
        SlotEffect* const effect = EffectFor(source.sends[i], state, voice, snapshot, jumps);
        if (effect == nullptr) continue;
        const SendGains gains = ComputeSendGains(source, snapshot, geometry, effect->target);
        Send({*effect, source.sends[i].filter, jumps}, state, voice, geometry, gains, samples, scale);
    }
}

void SendStage_v2::SendMultiChannel(Voice& voice, const RenderSnapshot& snapshot,
                                    const hcml::ac::Bus& samples, bool isBFormat, float gain, float scale) {
    const Source& source = voice.source;
    if (source.sends.size == 0) return;
    mono.clear();
    for (std::uint32_t c = 0; c < (isBFormat ? 1 : samples.channelCount); ++c)
        hcml::MultiplyAddRow(mono.data, samples.channels[c], 1, samples.vectors);
    SourceGeometry everywhere;
    everywhere.encode[0] = 1;
    const SendGains gains{gain / static_cast<float>(samples.channelCount), 1};
    for (std::uint32_t i = 0; i < source.sends.size; ++i) {
        SendState& state = voice.memory.sends[i];
        bool jumps = false;
        SlotEffect* const effect = EffectFor(source.sends[i], state, voice, snapshot, jumps);
        if (effect == nullptr) continue;
        Send({*effect, source.sends[i].filter, jumps}, state, voice, everywhere, gains, mono, scale);
    }
}

}  // namespace goal
