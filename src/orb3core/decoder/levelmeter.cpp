#include "orb3core/decoder/levelmeter.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace orb3 {
namespace {

constexpr std::uint32_t framesAtOnce = 8;
constexpr double fallSpeed = 20;  // dB a second
constexpr double meanTime = 0.3;  // s

// `group` is a whole number of fours, or what is left of a block.
void Gather(const float* samples, std::size_t group, float* peaks, float* squares) {
    for (std::size_t i = 0; i < group; ++i) {
        const float magnitude = std::fabs(samples[i]);
        peaks[i] = peaks[i] < magnitude ? magnitude : peaks[i];
        squares[i] += magnitude * magnitude;
    }
}

}  // namespace

LevelMeter::LevelMeter(double sampleRate, std::uint32_t frames, std::uint32_t channels)
    : levels(channels),
      frames(frames),
      channels(channels),
      peakFactor(static_cast<float>(std::pow(10, -fallSpeed / 20 * frames / sampleRate))),
      meanStep(static_cast<float>(1 - std::exp(-(frames / sampleRate) / meanTime))),
      peaks(std::size_t{framesAtOnce} * channels),
      squares(std::size_t{framesAtOnce} * channels) {}

void LevelMeter::Note(const float* block) {
    std::ranges::fill(peaks, 0.0F);
    std::ranges::fill(squares, 0.0F);
    const std::size_t group = peaks.size();
    std::size_t left = std::size_t{frames} * channels;
    for (; left >= group; left -= group, block += group)
        Gather(block, group, peaks.data(), squares.data());
    Gather(block, left, peaks.data(), squares.data());
    for (std::uint32_t c = 0; c < channels; ++c) {
        float peak = 0, square = 0;
        for (std::size_t i = c; i < group; i += channels) {
            peak = std::max(peak, peaks[i]);
            square += squares[i];
        }
        OutputLevel& level = levels[c];
        level.peak = std::max(peak, level.peak * peakFactor);
        level.meanSquare += meanStep * (square / static_cast<float>(frames) - level.meanSquare);
    }
}

}  // namespace orb3
