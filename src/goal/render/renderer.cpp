#include "goal/render/renderer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "goal/dsp/antidenormal.h"
#include "goal/dsp/filterstage.h"
#include "goal/render/bformatrotation.h"
#include "goal/render/stereopan.h"
#include "numeric/ambisonicorder.h"
#include "numeric/kernels/finitekernel.h"
#include "slib/exception.h"

namespace goal {
namespace {

// What the weights of a direct path move per sample.
constexpr float directStep = 0.05F;

unsigned CheckedOrder(int order) {
    if (order < 1 || order > static_cast<int>(hcml::highestOrder)) slib::ThrowUnreachable();
    return static_cast<unsigned>(order);
}

bool IsBFormat(Arrangement key) {
    return key == Arrangement::BFormat2D || key == Arrangement::BFormat3D;
}

// A ramp that isn't heard starts afresh when it is heard again.
void ApplyDedicatedGain(GainRamp& ramp, bool isWritten, float gain, hcml::FloatTupleVector& block) {
    if (isWritten)
        ramp.Apply(gain, block);
    else
        ramp.current = -1;
}

// A source with a sample that isn't finite is left out, since no later stage would get rid of it.
void AddBus(const hcml::ac::Bus& source, hcml::ac::Bus& target, bool& hasContent) {
    for (std::uint32_t c = 0; c < source.channelCount; ++c)
        if (!hcml::IsFiniteRow(source.channels[c], source.frames)) return;
    if (!std::exchange(hasContent, true)) {
        target = source;
        return;
    }
    for (std::uint32_t c = 0; c < target.channelCount; ++c)
        target.add(c, source.channels[c], 1);
}

}  // namespace

Renderer::Renderer(double sampleRate, const orb3::Configuration& configuration, int defaultFilterOrder,
                   std::uint32_t blockFrames)
    : settings(configuration.goalConfig),
      sampleRate(sampleRate),
      blockFrames(blockFrames),
      order(CheckedOrder(settings.order)),
      spatialChannels(hcml::ChannelsOfOrder(order)),
      defaultFilterOrder(defaultFilterOrder),
      reader(settings.sampleRateConversion, settings.sound),
      radiusTable(order),
      filterTables(std::make_unique<FilterGainTables>()),
      arrays(configuration.arraySet, blockFrames, spatialChannels),
      sends(blockFrames, spatialChannels, *filterTables, defaultFilterOrder),
      effects({.sampleRate = sampleRate,
               .order = order,
               .useFullLateReflections = settings.useFullLateReflections,
               .useDirectionalEarlyReflections = settings.useDirectionalEarlyReflections,
               .blockFrames = blockFrames,
               .listenerBasis = &listener,
               .isRefined = settings.sound == orb3::Sound::Refined},
              spatialChannels),
      batch(blockFrames, spatialChannels) {
    buildFilterTables(*filterTables, sampleRate, false, settings.sound == orb3::Sound::Refined);
    spatialGain = lowFrequencyGain = dialogueGain = GainRamp(*filterTables);
}

void Renderer::renderBlock(RenderSnapshot& snapshot, RenderOutput& output) {
    StartBlock(snapshot, output);
    RenderSources(snapshot, output);
    batch.Flush(output.spatial);
    effects.Run(snapshot, sends, arrays, output);
    arrays.MixInto(output.spatial);
    FinishBlock(snapshot, output);
}

// What waits refers to the memories of sources, so it is worked off here, to be heard nowhere.
void Renderer::Abandon(RenderSnapshot& snapshot, RenderOutput& output) {
    batch.Flush(output.spatial);
    snapshot.activeSlots.ForEach([&](std::uint32_t i) { sends.Gather(EffectOf(snapshot.slots[i])); });
    arrays.MixInto(output.spatial);
    output.Silence();
}

void Renderer::StartBlock(const RenderSnapshot& snapshot, RenderOutput& output) {
    listener = BuildBasis(snapshot.listenerAt, snapshot.listenerUp);
    effects.Renew(snapshot);
    sends.Sync(snapshot);
    output.spatial.clear();
    ApplyAntiDenormalPattern(output.spatial);
    output.lowFrequencyWritten = false;
    output.dialogueWritten = false;
}

// Only sources of the set of playing ones can be heard. A source that stops in this block leaves it at the
// merge.
void Renderer::RenderSources(RenderSnapshot& snapshot, RenderOutput& output) {
    snapshot.playing.ForEach([&](std::uint32_t i) {
        Source& source = snapshot.voices[i]->source;
        SourceRendererState& state = snapshot.voices[i]->memory;
        if (source.queue.size == 0) return;
        if (source.queue[0]->channels == 1)
            RenderMonoSource(source, state, snapshot, output.spatial);
        else
            RenderMultiChannelSource(source, state, snapshot, output.spatial);
    });
}

void Renderer::RenderMonoSource(Source& source, SourceRendererState& state, const RenderSnapshot& snapshot,
                                hcml::ac::Bus& spatial) {
    const SourceGeometry geometry = LocateSource(source, snapshot, listener, radiusTable, order);
    if (!IsFinite(geometry)) return;
    const ReadRate rate{static_cast<double>(geometry.pitch), sampleRate};
    hcml::FloatTupleVector& row = batch.Row();
    const float scale =
        reader.ReadMono(source, state.previousFrame, state.converter, rate, row.data, row.size);
    ApplyAntiDenormalPattern(row);
    sends.SendMono(source, state, snapshot, geometry, row, scale);
    const FilterStageSettings path{
        .gainFactor = geometry.gain, .hfFactor = geometry.gainHF, .defaultOrder = defaultFilterOrder};
    const bool isSilent =
        FilterOneLater(source.directFilter, state.direct, row, *filterTables, path, batch.Waiting());
    if (isSilent)
        state.direct.coefficientsValid = false;
    else
        AddMono(state, geometry, scale, spatial);
}

// Adds the batch's row to the bus from the source's direction.
void Renderer::AddMono(SourceRendererState& state, const SourceGeometry& geometry, float scale,
                       hcml::ac::Bus& spatial) {
    std::array<float, hcml::mostBusChannels> weights{};
    for (std::uint32_t c = 0; c < spatialChannels; ++c)
        weights[c] = geometry.encode[c] * scale;
    batch.AddMoving(weights.data(), state.direct, directStep, spatial);
}

void Renderer::RenderMultiChannelSource(Source& source, SourceRendererState& state,
                                        const RenderSnapshot& snapshot, hcml::ac::Bus& spatial) {
    const float pitch = std::min(source.pitch, largestPitch);
    if (!IsFinite(source.gain, pitch)) return;
    const Arrangement key = source.queue[0]->arrangementKey;
    ArrayBus& bus = arrays[key];
    const ReadRate rate{static_cast<double>(pitch), sampleRate};
    const float scale =
        reader.ReadMultiChannel(source, state.previousFrame, state.multiChannelConverter, rate, bus.input);
    ApplyAntiDenormalPattern(bus.input);
    sends.SendMultiChannel(source, state, snapshot, bus.input, IsBFormat(key), scale);
    if (IsBFormat(key)) Rotate(source, key, bus);
    const FilterStageSettings path{
        .gainFactor = source.gain * scale, .floorScale = scale, .defaultOrder = defaultFilterOrder};
    const bool isSilent =
        filterChannels(source.directFilter, state.direct, IsBFormat(key) ? bus.filtered : bus.input,
                       bus.filtered, *filterTables, path);
    if (isSilent) return;
    if (key == Arrangement::Stereo && source.hasStereoAngles)
        Pan(source, bus, spatial);
    else
        AddBus(bus.filtered, bus.mix, bus.hasContent);
}

void Renderer::Rotate(const Source& source, Arrangement key, ArrayBus& bus) const {
    const RotationMatrix matrix =
        BFormatRotation(listener, BuildBasis(source.orientationAt, source.orientationUp), source.relative);
    const std::uint32_t inputs = key == Arrangement::BFormat2D ? 2 : 3;
    bus.filtered.resize(blockFrames, 4);
    bus.filtered.clear();
    bus.filtered.add(0, bus.input.channels[0], 1);
    for (std::uint32_t row = 0; row < 3; ++row)
        for (std::uint32_t column = 0; column < inputs; ++column)
            bus.filtered.add(row + 1, bus.input.channels[column + 1], matrix[row][column]);
}

void Renderer::Pan(const Source& source, const ArrayBus& bus, hcml::ac::Bus& spatial) {
    for (std::uint32_t side = 0; side < 2; ++side) {
        const StereoPan pan = PanStereoSide(source.stereoAngles[side], order);
        std::array<float, hcml::mostBusChannels> weights{};
        for (std::size_t i = 0; i < pan.channels.size(); ++i)
            weights[pan.channels[i]] = pan.weights[i];
        std::copy_n(bus.filtered.channels[side], std::size_t{bus.filtered.vectors} * 4, batch.Row().data);
        batch.Add(weights.data(), spatial);
    }
}

void Renderer::FinishBlock(const RenderSnapshot& snapshot, RenderOutput& output) {
    const float gain = snapshot.listenerGain;
    spatialGain.Apply(gain, output.spatial);
    ApplyDedicatedGain(lowFrequencyGain, output.lowFrequencyWritten, gain, output.lowFrequency);
    ApplyDedicatedGain(dialogueGain, output.dialogueWritten, gain, output.dialogue);
}

}  // namespace goal
