#include "goal/fx/latepredelay.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "goal/dsp/finitesamples.h"

namespace goal::fx {
namespace {

constexpr float fullTurn = 2 * std::numbers::pi_v<float>;

// The longest wait of the parameters and twice the deepest modulation, in seconds.
constexpr double longest = 0.3 + 0.1 + 2 * 0.025;

std::int32_t OneToward(std::int32_t value, std::int32_t target) {
    return value + (value < target) - (value > target);
}

// From 0 at phase 0 up to 1 after a quarter turn.
float Triangle(float phase) {
    const float quarters = phase * 0.63661975F;
    if (quarters < 1) return quarters;
    return quarters >= 3 ? quarters - 4 : 2 - quarters;
}

}  // namespace

LatePreDelay::LatePreDelay(float sampleRate, double networkDelay, std::uint32_t blockFrames)
    : sampleRate(sampleRate),
      networkDelay(networkDelay),
      lateInputRing(static_cast<std::uint32_t>(longest * sampleRate + 2.5) + blockFrames) {}

void LatePreDelay::Run(const ReverbParametersBase& parameters, const float* input, std::uint32_t frames,
                       float* output) {
    const double wait = double{parameters.lateReverbDelay} + parameters.reflectionsDelay - networkDelay;
    const auto base = std::max(static_cast<std::int32_t>(wait * sampleRate + 1.5), 0);
    const auto depth = static_cast<std::int32_t>(parameters.modulationDepth * sampleRate * 0.025F);
    const float phaseStep = fullTurn / (parameters.modulationTime * sampleRate);
    if (currentPreDelay < 0) {
        currentPreDelay = base;
        currentModDepth = depth;
    }
    WriteFinite(lateInputRing, input, frames);
    if (currentPreDelay != base || currentModDepth != depth || depth != 0)
        return RunMoving(base, depth, phaseStep, frames, output);
    lateInputRing.ReadAll(static_cast<std::uint32_t>(base), output, frames);
    modulationPhase = std::fmod(modulationPhase + phaseStep * static_cast<float>(frames), fullTurn);
}

void LatePreDelay::RunMoving(std::int32_t base, std::int32_t depth, float phaseStep, std::uint32_t frames,
                             float* output) {
    float phase = modulationPhase;
    for (std::uint32_t i = 0; i < frames; ++i) {
        if (i % 4 == 0) currentPreDelay = OneToward(currentPreDelay, base);
        currentModDepth = OneToward(currentModDepth, depth);
        const float offset = (Triangle(phase) + 1) * static_cast<float>(currentModDepth);
        phase += phaseStep;
        if (phase >= fullTurn) phase -= fullTurn;
        const auto delay = static_cast<std::uint32_t>(static_cast<float>(currentPreDelay) + offset);
        output[i] = lateInputRing[delay + (frames - 1 - i)];
    }
    modulationPhase = phase;
}

}  // namespace goal::fx
