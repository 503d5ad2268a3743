#include "goal/render/voicerenderer.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "goal/dsp/antidenormal.h"
#include "goal/render/stereopan.h"
#include "numeric/kernels/finitekernel.h"
#include "numeric/sumofsquares.h"

namespace goal {
namespace {

constexpr std::uint32_t blocksPerMeasure = 4;

bool IsDue(SourceMeter& meter) {
    return meter.blocks++ % blocksPerMeasure == 0;
}

// A mean with a time constant of 0.3 s, which begins with the first block. What isn't finite is nothing.
void NoteLevel(const RenderStages& stages, float meanSquare, SourceMeter& meter) {
    constexpr double meanTime = 0.3;
    const double passed = blocksPerMeasure * (stages.blockFrames / stages.sampleRate);
    const bool isFirst = meter.blocks == 1;
    const float step = isFirst ? 1.0F : static_cast<float>(std::min(passed / meanTime, 1.0));
    const float mean = meter.meanSquare + step * (meanSquare - meter.meanSquare);
    meter.meanSquare = std::isfinite(mean) ? mean : 0;
}

}  // namespace

void Measure(const RenderStages& stages, const SourceGeometry& geometry, const hcml::FloatTupleVector& row,
             float gain, SourceMeter& meter) {
    meter.direction = geometry.direction;
    meter.distance = geometry.distance;
    if (!IsDue(meter)) return;
    const float mean = hcml::SumOfSquares(row.data, row.size) / static_cast<float>(row.size);
    NoteLevel(stages, mean * gain * gain, meter);
}

void Measure(const RenderStages& stages, const hcml::ac::Bus& channels, float gain, SourceMeter& meter) {
    if (!IsDue(meter)) return;
    float sum = 0;
    for (std::uint32_t c = 0; c < channels.channelCount; ++c)
        sum += hcml::SumOfSquares(channels.channels[c], channels.frames);
    NoteLevel(stages, sum / static_cast<float>(channels.frames) * gain * gain, meter);
}

float ReadChannels(const RenderStages& stages, Source& source, SourceRendererState& state, ArrayBus& bus) {
    const ReadRate rate{static_cast<double>(std::min(source.pitch, largestPitch)), stages.sampleRate};
    const float scale = stages.reader.ReadMultiChannel(source, state.previousFrame,
                                                       state.multiChannelConverter, rate, bus.input);
    ApplyAntiDenormalPattern(bus.input);
    return scale;
}

void AddToArray(const hcml::ac::Bus& source, ArrayBus& bus) {
    for (std::uint32_t c = 0; c < source.channelCount; ++c)
        if (!hcml::IsFiniteRow(source.channels[c], source.frames)) return;
    if (!std::exchange(bus.hasContent, true)) {
        bus.mix = source;
        return;
    }
    for (std::uint32_t c = 0; c < bus.mix.channelCount; ++c)
        bus.mix.add(c, source.channels[c], 1);
}

std::array<float, hcml::mostBusChannels> StereoWeights(float angle, unsigned order) {
    const StereoPan pan = PanStereoSide(angle, order);
    std::array<float, hcml::mostBusChannels> weights{};
    for (std::size_t i = 0; i < pan.channels.size(); ++i)
        weights[pan.channels[i]] = pan.weights[i];
    return weights;
}

}  // namespace goal
