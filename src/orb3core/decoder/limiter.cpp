#include "orb3core/decoder/limiter.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>

#include "numeric/kernels/gainkernel.h"

namespace orb3 {
namespace {

constexpr float ceiling = 0.9F;

constexpr std::int32_t magnitudeBits = 0x7FFFFFFF;
constexpr std::int32_t infinityBits = 0x7F800000;

std::int32_t MagnitudeBits(float sample) {
    return std::bit_cast<std::int32_t>(sample) & magnitudeBits;
}

// Bits of the greatest magnitude. Magnitudes are ordered as their bits are, and above all of them are the
// infinity and then what isn't a number. Lanes that don't wait for each other are several times as quick.
std::int32_t GreatestBits(const float* samples, std::size_t count) {
    std::array<std::int32_t, 16> lanes{};
    std::size_t i = 0;
    for (; count - i >= lanes.size(); i += lanes.size())
        for (std::size_t lane = 0; lane < lanes.size(); ++lane)
            lanes[lane] = std::max(lanes[lane], MagnitudeBits(samples[i + lane]));
    for (; i < count; ++i)
        lanes[0] = std::max(lanes[0], MagnitudeBits(samples[i]));
    return *std::max_element(lanes.begin(), lanes.end());
}

void SilenceNonFinite(float* samples, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        if (MagnitudeBits(samples[i]) >= infinityBits) samples[i] = 0;
}

float CleanPeak(float* samples, std::size_t count) {
    std::int32_t greatest = GreatestBits(samples, count);
    if (greatest >= infinityBits) {
        SilenceNonFinite(samples, count);
        greatest = GreatestBits(samples, count);
    }
    return std::bit_cast<float>(greatest);
}

// What is left of a block, given out step by step.
struct Remainder {
    float* samples;
    std::size_t count;
    std::size_t step;

    bool IsEmpty() const { return count == 0; }

    void MultiplyStep(float gain) {
        const std::size_t taken = std::min(step, count);
        hcml::MultiplySamples(samples, samples, gain, taken);
        samples += taken;
        count -= taken;
    }

    void MultiplyAll(float gain) const {
        if (gain != 1) hcml::MultiplySamples(samples, samples, gain, count);
    }
};

void Fall(Limiter& limiter, float target, Remainder& block) {
    for (;;) {
        limiter.gain *= limiter.fallFactor;
        if (block.IsEmpty() || limiter.gain <= target) break;
        block.MultiplyStep(limiter.gain);
    }
    limiter.gain = std::max(limiter.gain, target);
}

void Rise(Limiter& limiter, float target, Remainder& block) {
    const bool isBelowFloor = limiter.gain < limiter.floorGain && target > limiter.floorGain;
    limiter.gain = isBelowFloor ? limiter.floorGain : limiter.gain * limiter.riseFactor;
    while (!block.IsEmpty() && limiter.gain < target) {
        block.MultiplyStep(limiter.gain);
        limiter.gain *= limiter.riseFactor;
    }
    limiter.gain = std::min(limiter.gain, target);
}

}  // namespace

Limiter::Limiter(double sampleRate)
    : stepFrames(std::max(1, static_cast<std::int32_t>(sampleRate / 10000 + 0.5))),
      riseFactor(static_cast<float>(std::pow(1e2, stepFrames / sampleRate))),
      fallFactor(static_cast<float>(std::pow(1e9, -10 * stepFrames / sampleRate))) {}

float Limiter::limit(float* block, std::uint32_t frames, std::uint32_t channels) {
    const std::size_t count = std::size_t{frames} * channels;
    const float peak = CleanPeak(block, count);
    const float target = peak > ceiling ? ceiling / peak : 1.0F;
    Remainder left{block, count, static_cast<std::size_t>(stepFrames) * channels};
    if (gain > target)
        Fall(*this, target, left);
    else if (gain < target)
        Rise(*this, target, left);
    left.MultiplyAll(gain);
    return peak;
}

}  // namespace orb3
