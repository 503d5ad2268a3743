#include "goal/fx/echo.h"

#include <algorithm>
#include <array>

#include "goal/dsp/onepole.h"
#include "goal/fx/echo_v2.h"
#include "goal/fx/makestate.h"

namespace goal::fx {
namespace {

constexpr double longestDelay = 0.614;         // seconds, of both delays together, and some room
constexpr double dampingFrequency = 5000;      // Hz
constexpr std::uint32_t longestStretch = 128;  // frames

void Move(float& value, float target, float step) {
    value = value < target ? std::min(value + step, target) : std::max(value - step, target);
}

}  // namespace

EchoState::EchoState(const EchoParameters& parameters, const RenderContext& context)
    : EffectProcessorState(parameters.effectType, EffectInput::Mono, EffectOutput::Stereo),
      sampleRate(static_cast<float>(context.sampleRate)),
      delayTarget(parameters.delay * sampleRate),
      delayCurrent(delayTarget),
      lrTarget(parameters.lrDelay * sampleRate),
      lrCurrent(lrTarget),
      ring(static_cast<std::uint32_t>(longestDelay * context.sampleRate + 1.5)) {}

void EchoState::process(const EffectProcessArgs& args) {
    const auto& parameters = static_cast<const EchoParameters&>(*args.parameters);
    delayTarget = parameters.delay * sampleRate;
    lrTarget = parameters.lrDelay * sampleRate;
    if (parameters.damping != lastDamping) DesignDamping(parameters.damping);
    const Gains gains{parameters.feedback * 0.5F, parameters.spread, args.slotGain * 0.3535F};
    std::uint32_t first = 0;
    for (; first < args.frames && (delayCurrent != delayTarget || lrCurrent != lrTarget); ++first) {
        RunStretch(args, gains, first, 1);
        Move(delayCurrent, delayTarget, delayStep);
        Move(lrCurrent, lrTarget, lrStep);
    }
    while (first < args.frames)
        first += RunStretch(args, gains, first, args.frames - first);
    filterMemory = KeptInMemory(filterMemory);
}

void EchoState::DesignDamping(float damping) {
    const OnePole filter =
        OnePoleOfGain(0.995 - double{damping}, AngleBelowNyquist(dampingFrequency, sampleRate));
    filterA = filter.a;
    filterB = filter.b;
    lastDamping = damping;
}

// As far as the delay line's end and the shorter delay let it: what a stretch reads was written before it.
// Returns how many frames.
std::uint32_t EchoState::RunStretch(const EffectProcessArgs& args, const Gains& gains, std::uint32_t first,
                                    std::uint32_t most) {
    const auto delay = static_cast<std::uint32_t>(delayCurrent);
    const std::uint32_t both = delay + static_cast<std::uint32_t>(lrCurrent);
    const std::uint32_t count =
        std::min({most, longestStretch, delay + 1, ring.RunPast(delay), ring.RunPast(both), ring.RunAhead()});
    const float* input = args.input[0] + first;
    float* left = args.output[0] + first;
    float* right = args.output[1] + first;
    const float* tapA = ring.Past(delay);
    const float* tapB = ring.Past(both);
    std::array<float, longestStretch> driven;
    for (std::uint32_t i = 0; i < count; ++i) {
        const float sum = tapA[i] + tapB[i];
        const float difference = (tapA[i] - tapB[i]) * gains.spread;
        driven[i] = sum * gains.feedback + input[i];
        left[i] += (sum + difference) * gains.output;
        right[i] += (sum - difference) * gains.output;
    }
    float* written = ring.Ahead();
    const double a = filterA, b = filterB;
    double memory = filterMemory;
    for (std::uint32_t i = 0; i < count; ++i) {
        memory = a * driven[i] + b * memory;
        written[i] = KeptInMemory(static_cast<float>(memory));
    }
    filterMemory = memory;
    ring.Advance(count);
    return count;
}

std::unique_ptr<EffectProcessorState> EchoParameters::createState(const RenderContext& context) const {
    return context.isRefined ? MakeState<EchoState_v2>(*this, context) : MakeState<EchoState>(*this, context);
}

}  // namespace goal::fx
