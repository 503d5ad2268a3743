#include "orb3core/decoder/delayline.h"

#include <bit>

namespace orb3 {
namespace {

// `input` gives the sample of a frame; `column` is the channel's first sample, its frames `stride` apart.
template <typename Input>
void Run(DelayLine& line, const Input& input, float* column, std::uint32_t frames, std::uint32_t stride) {
    float* const ring = line.ring.data;
    const std::uint32_t mask = line.ring.size - 1;
    const std::uint32_t delay = line.delay;
    std::uint32_t readIndex = line.readIndex;
    for (std::uint32_t frame = 0; frame < frames; ++frame) {
        ring[(readIndex + delay) & mask] = input(frame);
        column[std::size_t{frame} * stride] += ring[readIndex & mask];
        ++readIndex;
    }
    line.readIndex = readIndex & mask;
}

}  // namespace

DelayLines MakeDelayLines(std::uint32_t channels, std::uint32_t delay,
                          const std::vector<std::uint32_t>& more) {
    DelayLines lines(channels);
    for (std::size_t channel = 0; channel < lines.size(); ++channel) {
        DelayLine& line = lines[channel];
        line.delay = delay + (channel < more.size() ? more[channel] : 0);
        line.ring.resize(std::uint32_t{1} << std::bit_width(line.delay));
        line.ring.fill(0);
    }
    return lines;
}

void ClearUsed(DelayLines& lines) {
    for (DelayLine& line : lines)
        line.used = false;
}

void MixFeed(DelayLines& lines, std::uint32_t channel, const float* samples,
             hcml::GenericMatrix<float, 1>& output) {
    DelayLine& line = lines[channel];
    Run(
        line, [samples](std::uint32_t frame) { return samples[frame]; }, output.data + channel, output.rows,
        output.columns);
    line.used = line.isOpen = true;
}

void DrainUnused(DelayLines& lines, hcml::GenericMatrix<float, 1>& output) {
    for (std::uint32_t channel = 0; channel < lines.size(); ++channel)
        if (lines[channel].isOpen && !lines[channel].used)
            Run(
                lines[channel], [](std::uint32_t) { return 0.0F; }, output.data + channel, output.rows,
                output.columns);
}

}  // namespace orb3
