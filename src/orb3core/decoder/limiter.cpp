#include "orb3core/decoder/limiter.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "numeric/kernels/gainkernel.h"
#include "orb3core/decoder/cleanpeak.h"

namespace orb3 {
namespace {

constexpr float ceiling = 0.9F;

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
