#include "goal/dsp/gainramp.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>

#include "numeric/kernels/gainkernel.h"

namespace goal {
namespace {

constexpr float lowestGain =
    1e-20F;  // -400 dB, so that no product with a sample that can be heard is denormal
constexpr float highestGain = 1e15F;  // +300 dB, so that no sum of products overflows

}  // namespace

GainSlew MakeGainSlew(double sampleRate) {
    assert(sampleRate > 0);
    GainSlew slew;
    slew.stepFrames = std::max(1U, static_cast<std::uint32_t>(sampleRate / 10000 + 0.5));
    const double up = std::pow(1e10, 10.0 * slew.stepFrames / sampleRate);
    slew.upFactor = up;
    slew.downFactor = 1 / up;
    return slew;
}

float GainSlew::Step(float value, float target, float floorScale) const {
    const float lowest = std::max(lowestGain, floor * floorScale);
    if (value < target)
        return std::min(target, value < lowest ? lowest : static_cast<float>(value * upFactor));
    if (value > target) {
        const auto lower = static_cast<float>(value * downFactor);
        return lower < lowest || lower <= target ? target : lower;
    }
    return target;
}

float UsableGain(float gain) {
    if (!std::isfinite(gain) || gain < lowestGain) return 0;
    return std::min(gain, highestGain);
}

void GainRamp::Apply(float target, hcml::ac::Bus& bus) {
    Run(target, bus.channels, bus.channelCount, bus.frames);
}

void GainRamp::Apply(float target, hcml::FloatTupleVector& block) {
    Run(target, &block.data, 1, block.size);
}

void GainRamp::Run(float target, float* const* channels, std::uint32_t channelCount, std::uint32_t frames) {
    target = UsableGain(target);
    if (current < 0) current = target;
    std::uint32_t position = 0;
    for (; current != target && frames - position >= stepFrames; position += stepFrames) {
        current = Step(current, target);
        for (std::uint32_t c = 0; c < channelCount; ++c)
            hcml::MultiplySamples(channels[c] + position, channels[c] + position, current, stepFrames);
    }
    if (current == 1) return;
    const std::size_t whole = (std::size_t{frames} + 3) / 4 * 4;
    for (std::uint32_t c = 0; c < channelCount; ++c)
        hcml::MultiplySamples(channels[c] + position, channels[c] + position, current, whole - position);
}

}  // namespace goal
