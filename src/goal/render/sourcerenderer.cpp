#include "goal/render/sourcerenderer.h"

#include <algorithm>
#include <array>

#include "goal/dsp/antidenormal.h"
#include "goal/dsp/filterstage.h"
#include "goal/render/bformatrotation.h"
#include "numeric/ambisonicorder.h"

namespace goal {
namespace {

// What the weights of a direct path move per sample.
constexpr float directStep = 0.05F;

// A ramp that isn't heard starts afresh when it is heard again.
void ApplyDedicatedGain(GainRamp& ramp, bool isWritten, float gain, hcml::FloatTupleVector& block) {
    if (isWritten)
        ramp.Apply(gain, block);
    else
        ramp.current = -1;
}

}  // namespace

SourceRenderer::SourceRenderer(const RenderStages& stages, std::uint32_t spatialChannels)
    : stages(stages),
      spatialChannels(spatialChannels),
      sends(stages.blockFrames, spatialChannels, stages.tables, stages.defaultFilterOrder),
      spatialGain(stages.tables),
      lowFrequencyGain(stages.tables),
      dialogueGain(stages.tables) {}

Basis SourceRenderer::Listen(const RenderSnapshot& snapshot) {
    return BuildBasis(snapshot.listenerAt, snapshot.listenerUp);
}

void SourceRenderer::Render(Voice& voice, const RenderSnapshot& snapshot, hcml::ac::Bus& spatial) {
    if (voice.source.queue[0]->channels == 1)
        RenderMono(voice.source, voice.memory, snapshot, spatial);
    else
        RenderMultiChannel(voice.source, voice.memory, snapshot, spatial);
}

void SourceRenderer::RenderMono(Source& source, SourceRendererState& state, const RenderSnapshot& snapshot,
                                hcml::ac::Bus& spatial) {
    const SourceGeometry geometry =
        LocateSource(source, snapshot, stages.listener, stages.radiusTable, stages.order);
    if (!IsFinite(geometry)) {
        state.meter = SourceMeter();
        return;
    }
    const ReadRate rate{static_cast<double>(geometry.pitch), stages.sampleRate};
    hcml::FloatTupleVector& row = stages.batch.Row();
    const float scale =
        stages.reader.ReadMono(source, state.previousFrame, state.converter, rate, row.data, row.size);
    ApplyAntiDenormalPattern(row);
    Measure(stages, geometry, row, geometry.gain * source.directFilter.gain * scale, state.meter);
    sends.SendMono(source, state, snapshot, geometry, row, scale);
    const FilterStageSettings path{
        .gainFactor = geometry.gain, .hfFactor = geometry.gainHF, .defaultOrder = stages.defaultFilterOrder};
    const bool isSilent =
        FilterOneLater(source.directFilter, state.direct, row, stages.tables, path, stages.batch.Waiting());
    if (isSilent)
        state.direct.coefficientsValid = false;
    else
        AddMono(state, geometry, scale, spatial);
}

// Adds the batch's row to the bus from the source's direction.
void SourceRenderer::AddMono(SourceRendererState& state, const SourceGeometry& geometry, float scale,
                             hcml::ac::Bus& spatial) {
    std::array<float, hcml::mostBusChannels> weights{};
    for (std::uint32_t c = 0; c < spatialChannels; ++c)
        weights[c] = geometry.encode[c] * scale;
    stages.batch.AddMoving(weights.data(), state.direct, directStep, spatial);
}

void SourceRenderer::RenderMultiChannel(Source& source, SourceRendererState& state,
                                        const RenderSnapshot& snapshot, hcml::ac::Bus& spatial) {
    if (!IsFinite(source.gain, std::min(source.pitch, largestPitch))) return;
    const Arrangement key = source.queue[0]->arrangementKey;
    ArrayBus& bus = stages.arrays[key];
    const float scale = ReadChannels(stages, source, state, bus);
    Measure(stages, bus.input, source.gain * source.directFilter.gain * scale, state.meter);
    sends.SendMultiChannel(source, state, snapshot, bus.input, IsBFormat(key), scale);
    if (IsBFormat(key)) Rotate(source, key, bus);
    const FilterStageSettings path{
        .gainFactor = source.gain * scale, .floorScale = scale, .defaultOrder = stages.defaultFilterOrder};
    const bool isSilent =
        filterChannels(source.directFilter, state.direct, IsBFormat(key) ? bus.filtered : bus.input,
                       bus.filtered, stages.tables, path);
    if (isSilent) return;
    if (key == Arrangement::Stereo && source.hasStereoAngles)
        Pan(source, bus, spatial);
    else
        AddToArray(bus.filtered, bus);
}

void SourceRenderer::Rotate(const Source& source, Arrangement key, ArrayBus& bus) const {
    const RotationMatrix matrix = BFormatRotation(
        stages.listener, BuildBasis(source.orientationAt, source.orientationUp), source.relative);
    const std::uint32_t inputs = key == Arrangement::BFormat2D ? 2 : 3;
    bus.filtered.resize(stages.blockFrames, 4);
    bus.filtered.clear();
    bus.filtered.add(0, bus.input.channels[0], 1);
    for (std::uint32_t row = 0; row < 3; ++row)
        for (std::uint32_t column = 0; column < inputs; ++column)
            bus.filtered.add(row + 1, bus.input.channels[column + 1], matrix[row][column]);
}

void SourceRenderer::Pan(const Source& source, const ArrayBus& bus, hcml::ac::Bus& spatial) {
    for (std::uint32_t side = 0; side < 2; ++side) {
        const auto weights = StereoWeights(source.stereoAngles[side], stages.order);
        std::copy_n(bus.filtered.channels[side], std::size_t{bus.filtered.vectors} * 4,
                    stages.batch.Row().data);
        stages.batch.Add(weights.data(), spatial);
    }
}

void SourceRenderer::Finish(const RenderSnapshot& snapshot, RenderOutput& output) {
    const float gain = snapshot.listenerGain;
    spatialGain.Apply(gain, output.spatial);
    ApplyDedicatedGain(lowFrequencyGain, output.lowFrequencyWritten, gain, output.lowFrequency);
    ApplyDedicatedGain(dialogueGain, output.dialogueWritten, gain, output.dialogue);
}

}  // namespace goal
