#include "goal/fx/modulateddelay.h"

#include <algorithm>
#include <numbers>

#include "goal/dsp/antidenormal.h"
#include "goal/fx/makestate.h"
#include "goal/fx/modulateddelay_v2.h"

namespace goal::fx {
namespace {

constexpr double longestDelay = 0.033;  // seconds: twice the chorus's delay, and some room

// A value that moves from `current` to `target` by `step` a frame, at a frame in the time to come.
class Motion {
public:
    Motion(float current, float target, float step)
        : start(current),
          slope(current == target  ? 0
                : current < target ? step
                                   : -step),
          lowest(std::min(current, target)),
          highest(std::max(current, target)) {}

    float At(std::uint32_t frame) const {
        return std::min(
            std::max(start + slope * static_cast<float>(static_cast<std::int32_t>(frame)), lowest), highest);
    }

private:
    float start, slope, lowest, highest;
};

}  // namespace

ModulatedDelayState::ModulatedDelayState(const ModulatedDelayParameters& parameters,
                                         const RenderContext& context)
    : EffectProcessorState(parameters.effectType, EffectInput::Mono, EffectOutput::Stereo),
      sampleRate(static_cast<float>(context.sampleRate)),
      delayTarget(parameters.delay * sampleRate),
      delayCurrent(delayTarget),
      depthStep(100 / sampleRate),
      depthTarget(parameters.depth),
      depthCurrent(depthTarget),
      ring(static_cast<std::uint32_t>(longestDelay * context.sampleRate + 1.5)) {}

void ModulatedDelayState::process(const EffectProcessArgs& args) {
    const auto& parameters = static_cast<const ModulatedDelayParameters&>(*args.parameters);
    delayTarget = parameters.delay * sampleRate;
    depthTarget = parameters.depth;
    phaseStep = Oscillator::StepOf(parameters.rate, sampleRate);
    const double ahead = parameters.phase / (2 * std::numbers::pi);
    for (std::uint32_t first = 0; first < args.frames; first += chunkFrames) {
        const std::uint32_t count = std::min(chunkFrames, args.frames - first);
        Sweep(left, count, parameters, 0);
        Sweep(right, count, parameters, ahead);
        Glide(count);
        Run(first, count, args, parameters.feedback * 0.4999F);
    }
}

// The right wave's angle is taken modulo a turn, as the left one's: a triangle that went on past its turn
// would jump once a cycle, and read beyond the delay line.
void ModulatedDelayState::Sweep(Tap& tap, std::uint32_t count, const ModulatedDelayParameters& parameters,
                                double ahead) const {
    std::array<float, chunkFrames> wave;
    if (parameters.waveform == Waveform::Sinusoid)
        lfoPhase.Fill(wave.data(), count, phaseStep, ahead, SineAt);
    else
        lfoPhase.Fill(wave.data(), count, phaseStep, ahead, TriangleAt);
    const Motion delay(delayCurrent, delayTarget, delayStep);
    const Motion depth(depthCurrent, depthTarget, depthStep);
    for (std::uint32_t i = 0; i < count; ++i) {
        // A float would leave the fraction of a long delay a dozen bits.
        const double at = (double{wave[i]} * depth.At(i) + 1) * delay.At(i);
        const auto frames = static_cast<std::int32_t>(at);
        tap.frames[i] = static_cast<std::uint32_t>(frames);
        tap.fraction[i] = static_cast<float>(at - frames);
    }
}

void ModulatedDelayState::Glide(std::uint32_t count) {
    delayCurrent = Motion(delayCurrent, delayTarget, delayStep).At(count);
    depthCurrent = Motion(depthCurrent, depthTarget, depthStep).At(count);
    lfoPhase.Advance(count, phaseStep);
}

float ModulatedDelayState::Read(const Tap& tap, std::uint32_t i) const {
    const float fraction = tap.fraction[i];
    return ring[tap.frames[i]] * (1 - fraction) + ring[tap.frames[i] + 1] * fraction;
}

void ModulatedDelayState::Run(std::uint32_t first, std::uint32_t count, const EffectProcessArgs& args,
                              float feedback) {
    const float* input = args.input[0] + first;
    float* leftOutput = args.output[0] + first;
    float* rightOutput = args.output[1] + first;
    const float gain = args.slotGain;
    for (std::uint32_t i = 0; i < count; ++i) {
        const float leftValue = Read(left, i), rightValue = Read(right, i);
        leftOutput[i] += leftValue * gain;
        rightOutput[i] += rightValue * gain;
        ring.Write(KeptInMemory((leftValue + rightValue) * feedback + input[i]));
    }
}

std::unique_ptr<EffectProcessorState> ModulatedDelayParameters::createState(
    const RenderContext& context) const {
    if (context.isRefined) return MakeState<ModulatedDelayState_v2>(*this, context);
    return MakeState<ModulatedDelayState>(*this, context);
}

}  // namespace goal::fx
