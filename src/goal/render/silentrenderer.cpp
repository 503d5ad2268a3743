#include "goal/render/silentrenderer.h"

#include <algorithm>
#include <cmath>

#include "goal/render/sourcegeometry.h"

namespace goal {
namespace {

// What is read is read at this rate, in Hz: a frame is the shortest time that shows.
constexpr std::uint32_t rate = 1000;

}  // namespace

SilentRenderer::SilentRenderer() : reader(orb3::SampleRateConversion::Off) {
    for (std::uint32_t channels = 1; channels < unheard.size(); ++channels)
        unheard[channels].resize(rate, channels);
}

void SilentRenderer::Advance(RenderSnapshot& snapshot, double seconds) {
    rest += std::min(seconds, 1.0) * rate;
    const auto frames = std::min(static_cast<std::uint32_t>(rest), rate);
    if (frames == 0) return;
    rest -= frames;
    snapshot.playing.ForEach([&](std::uint32_t i) {
        Voice& voice = *snapshot.voices[i];
        if (voice.source.queue.size == 0) return;
        hcml::ac::Bus& bus = unheard[voice.source.queue[0]->channels];
        bus.resize(frames, bus.channelCount);
        const ReadRate pace{static_cast<double>(std::min(voice.source.pitch, largestPitch)), rate};
        if (bus.channelCount == 1)
            reader.ReadMono(voice.source, voice.memory.previousFrame, voice.memory.converter, pace,
                            bus.channels[0], frames);
        else
            reader.ReadMultiChannel(voice.source, voice.memory.previousFrame,
                                    voice.memory.multiChannelConverter, pace, bus);
    });
}

}  // namespace goal
