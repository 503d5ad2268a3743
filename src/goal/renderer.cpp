#include "goal/renderer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <utility>

#include "goal/bformatrotation.h"
#include "goal/fx/antidenormal.h"
#include "goal/fx/filterstage.h"
#include "goal/stereopan.h"
#include "numeric/kernels/mixkernel.h"
#include "slib/exception.h"

namespace goal {
namespace {

// Keys of the channel arrangements; those from "Mono" to "Rear" are the types of the channel arrays.
constexpr int bFormat2D = 1;
constexpr int bFormat3D = 2;
constexpr int firstArray = 3;
constexpr int lastArray = 10;
constexpr int stereoArray = 5;

// What the weights of a direct path move per sample.
constexpr float directStep = 0.05F;

unsigned CheckedOrder(int order) {
    if (order < 1 || order > 4) slib::ThrowUnreachable("goal/renderer", __LINE__);
    return static_cast<unsigned>(order);
}

bool IsBFormat(int key) {
    return key == bFormat2D || key == bFormat3D;
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
        if (!IsFiniteRow(source.channels[c], source.frames)) return;
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
    : sampleRate(sampleRate),
      blockFrames(blockFrames),
      order(CheckedOrder(configuration.goalConfig.order)),
      spatialChannels((order + 1) * (order + 1)),
      defaultFilterOrder(defaultFilterOrder),
      reader(configuration.goalConfig.sampleRateConversion),
      radiusTable(order),
      filterTables(std::make_unique<FilterGainTables>()),
      sends(blockFrames, spatialChannels, configuration.goalConfig.useDirectionalEarlyReflections,
            *filterTables, defaultFilterOrder),
      batch(blockFrames, spatialChannels) {
    AddArrays(configuration.arraySet);
    AddBFormats();
    buildFilterTables(*filterTables, sampleRate, false);
    spatialGain = lowFrequencyGain = dialogueGain = GainRamp(*filterTables);
}

void Renderer::AddArrayBus(int key, std::uint32_t inputs, hcml::GenericMatrix<float, 1> encode) {
    ArrayBus& bus = arrayBuses[key];
    bus.input.resize(blockFrames, inputs);
    bus.filtered.resize(blockFrames, encode.rows);
    bus.mix.resize(blockFrames, encode.rows);
    ApplyAntiDenormalPattern(bus.mix);
    bus.encode = std::move(encode);
}

void Renderer::AddArrays(orb3::array::ArraySet arrays) {
    arrays.Prepare();
    for (int key = firstArray; key <= lastArray; ++key) {
        const orb3::array::Array& array = arrays.GetArray(key);
        const auto channels = static_cast<std::uint32_t>(array.channels.size());
        hcml::GenericMatrix<float, 1> encode(channels, spatialChannels);
        for (std::uint32_t c = 0; c < channels; ++c)
            std::copy_n(array.channels[c].harmonics.begin(), spatialChannels, &encode(c, 0));
        AddArrayBus(key, channels, std::move(encode));
    }
}

// The first channel of B-format is 3 dB below that of the bus.
void Renderer::AddBFormats() {
    hcml::GenericMatrix<float, 1> encode(4, spatialChannels);
    encode.fill(0);
    encode(0, 0) = std::numbers::sqrt2_v<float>;
    for (std::uint32_t c = 1; c < 4; ++c)
        encode(c, c) = 1;
    AddArrayBus(bFormat2D, 3, encode);
    AddArrayBus(bFormat3D, 4, encode);
}

void Renderer::renderBlock(RenderSnapshot& snapshot, RenderOutput& output) {
    StartBlock(snapshot, output);
    RenderSources(snapshot, output);
    batch.Flush(output.spatial);
    MixArrays(output.spatial);
    FinishBlock(snapshot, output);
}

void Renderer::StartBlock(const RenderSnapshot& snapshot, RenderOutput& output) {
    listener = BuildBasis(snapshot.listenerAt, snapshot.listenerUp);
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
        Source& source = snapshot.sources[i];
        SourceRendererState& state = snapshot.sourceStates[i];
        if (source.deleted || source.state != SourceState::Playing || source.queue.size == 0) return;
        if (source.queue[0]->channels == 1)
            RenderMonoSource(source, state, snapshot, output.spatial);
        else
            RenderMultiChannelSource(source, state, output.spatial);
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
    const FilterStageSettings settings{
        .gainFactor = geometry.gain, .hfFactor = geometry.gainHF, .defaultOrder = defaultFilterOrder};
    if (filterOneLater(source.directFilter, state.direct, row, *filterTables, settings, batch.Waiting()))
        state.direct.coefficientsValid = false;
    else
        AddMono(state, geometry, scale, spatial);
}

// Adds the batch's row to the bus from the source's direction.
void Renderer::AddMono(SourceRendererState& state, const SourceGeometry& geometry, float scale,
                       hcml::ac::Bus& spatial) {
    std::array<float, 25> weights{};
    for (std::uint32_t c = 0; c < spatialChannels; ++c)
        weights[c] = geometry.encode[c] * scale;
    if (!std::exchange(state.direct.coefficientsValid, true)) state.direct.coefficients = weights;
    batch.AddMoving(weights.data(), state.direct.coefficients.data(), directStep, spatial);
}

void Renderer::RenderMultiChannelSource(Source& source, SourceRendererState& state, hcml::ac::Bus& spatial) {
    if (!IsFinite(source.gain, source.pitch)) return;
    const int key = source.queue[0]->arrangementKey;
    ArrayBus& bus = arrayBuses.at(key);
    const ReadRate rate{static_cast<double>(source.pitch), sampleRate};
    const float scale =
        reader.ReadMultiChannel(source, state.previousFrame, state.multiChannelConverter, rate, bus.input);
    ApplyAntiDenormalPattern(bus.input);
    sends.SendMultiChannel(source, state, bus.input, IsBFormat(key), scale);
    if (IsBFormat(key)) Rotate(source, key, bus);
    const FilterStageSettings settings{
        .gainFactor = source.gain * scale, .floorScale = scale, .defaultOrder = defaultFilterOrder};
    if (filterChannels(source.directFilter, state.direct, IsBFormat(key) ? bus.filtered : bus.input,
                       bus.filtered, *filterTables, settings))
        return;
    if (key == stereoArray && source.hasStereoAngles)
        Pan(source, bus, spatial);
    else
        AddBus(bus.filtered, bus.mix, bus.hasContent);
}

void Renderer::Rotate(const Source& source, int key, ArrayBus& bus) const {
    const RotationMatrix matrix =
        BFormatRotation(listener, BuildBasis(source.orientationAt, source.orientationUp), source.relative);
    const std::uint32_t inputs = key == bFormat2D ? 2 : 3;
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
        std::array<float, 25> weights{};
        for (std::size_t i = 0; i < pan.channels.size(); ++i)
            weights[pan.channels[i]] = pan.weights[i];
        std::copy_n(bus.filtered.channels[side], std::size_t{bus.filtered.vectors} * 4, batch.Row().data);
        batch.Add(weights.data(), spatial);
    }
}

void Renderer::MixArrays(hcml::ac::Bus& spatial) {
    for (auto& [key, bus] : arrayBuses) {
        if (!std::exchange(bus.hasContent, false)) continue;
        hcml::MixSources({.channels = spatial.channels,
                          .channelCount = spatial.channelCount,
                          .sources = bus.mix.channels,
                          .sourceCount = bus.mix.channelCount,
                          .coefficients = bus.encode.data,
                          .coefficientStride = bus.encode.columns,
                          .vectors = spatial.vectors});
        bus.mix.clear();
        ApplyAntiDenormalPattern(bus.mix);
    }
}

void Renderer::FinishBlock(const RenderSnapshot& snapshot, RenderOutput& output) {
    const float gain = snapshot.listenerGain;
    spatialGain.Apply(gain, output.spatial);
    ApplyDedicatedGain(lowFrequencyGain, output.lowFrequencyWritten, gain, output.lowFrequency);
    ApplyDedicatedGain(dialogueGain, output.dialogueWritten, gain, output.dialogue);
}

}  // namespace goal
