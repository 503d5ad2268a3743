#include "goal/render/voicerenderer.h"

#include <algorithm>
#include <utility>

#include "goal/dsp/antidenormal.h"
#include "goal/render/sourcegeometry.h"
#include "goal/render/stereopan.h"
#include "numeric/kernels/finitekernel.h"

namespace goal {

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
