#include "goal/render/sendstage.h"

#include <array>

#include "goal/dsp/filterstage.h"
#include "numeric/ambisonicorder.h"
#include "numeric/kernels/gainkernel.h"

namespace goal {
namespace {

// What the weights of a send into a whole field move per sample.
constexpr float fieldStep = 0.005F;

// A send without a target keeps clean memory.
void Forget(SourceFilterState& state) {
    reset(state);
    state.coefficientsValid = false;
}

}  // namespace

SendStage::SendStage(std::uint32_t frames, std::uint32_t spatialChannels, const FilterGainTables& tables,
                     int defaultFilterOrder)
    : spatialChannels(spatialChannels), tables(tables), defaultFilterOrder(defaultFilterOrder) {
    mono.resize(frames);
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
        SlotEffect* const slot = TargetOf(send, snapshot);
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
                                 const RenderSnapshot& snapshot, const hcml::ac::Bus& samples, bool isBFormat,
                                 float scale) {
    if (source.sends.size == 0) return;
    mono.clear();
    for (std::uint32_t c = 0; c < (isBFormat ? 1 : samples.channelCount); ++c)
        hcml::MultiplyAddRow(mono.data, samples.channels[c], 1, samples.vectors);
    constexpr std::array<float, hcml::mostBusChannels> weights{1};
    const SendGains gains{source.gain * scale / static_cast<float>(samples.channelCount), 1};
    for (std::uint32_t i = 0; i < source.sends.size; ++i) {
        SlotEffect* const slot = TargetOf(source.sends[i], snapshot);
        if (slot == nullptr)
            Forget(state.sends[i]);
        else if (Filter(source.sends[i].filter, state.sends[i], mono, gains, scale, *slot->sends))
            slot->sends->Add(weights.data(), slot->input);
    }
}

// A reverb takes one channel, or the axes as well.
void SendStage::AddMono(SlotEffect& slot, SourceFilterState& state, const SourceGeometry& geometry,
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
