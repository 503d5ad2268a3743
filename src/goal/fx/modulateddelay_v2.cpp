#include "goal/fx/modulateddelay_v2.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "goal/dsp/finitesamples.h"

namespace goal::fx {
namespace {

constexpr double longestDelay = 0.033;  // seconds: twice the chorus's delay, and some room
// Time constant of what moves. A tap that goes all the way in a glide still moves by less than a frame a
// frame.
constexpr double glideSeconds = 0.01;
constexpr double feedbackSeconds = 0.03;  // slower than a loop fills
constexpr std::array<float, 128> nowhere{};

double TurnsOf(const ModulatedDelayParameters& parameters) {
    return parameters.phase / (2 * std::numbers::pi);
}

double SineShareOf(const ModulatedDelayParameters& parameters) {
    return parameters.waveform == Waveform::Sinusoid ? 1 : 0;
}

}  // namespace

ModulatedDelayState_v2::ModulatedDelayState_v2(const ModulatedDelayParameters& parameters,
                                               const RenderContext& context)
    : EffectProcessorState(parameters.effectType, EffectInput::Mono, EffectOutput::Stereo),
      sampleRate(static_cast<float>(context.sampleRate)),
      delay(parameters.delay * sampleRate, glideSeconds, context.sampleRate),
      depth(parameters.depth, glideSeconds, context.sampleRate),
      phase(TurnsOf(parameters), glideSeconds, context.sampleRate),
      sine(SineShareOf(parameters), glideSeconds, context.sampleRate),
      feedback(LoopGain(parameters.feedback), feedbackSeconds, context.sampleRate),
      guard(context.sampleRate),
      ring(static_cast<std::uint32_t>(longestDelay * context.sampleRate + 1.5)) {}

void ModulatedDelayState_v2::process(const EffectProcessArgs& args) {
    Aim(static_cast<const ModulatedDelayParameters&>(*args.parameters));
    for (std::uint32_t first = 0; first < args.frames; first += chunkFrames) {
        const std::uint32_t count = std::min(chunkFrames, args.frames - first);
        Fill(count);
        Sweep(left, count, nowhere.data());
        Sweep(right, count, phases.data());
        lfoPhase.Advance(count, phaseStep);
        Run(first, count, args);
    }
    guard.Settle();
}

void ModulatedDelayState_v2::Aim(const ModulatedDelayParameters& parameters) {
    delay.Aim(parameters.delay * sampleRate);
    depth.Aim(parameters.depth);
    // The shorter way round.
    phase.Shift(-std::round(phase.Current()));
    const double turns = TurnsOf(parameters);
    phase.Aim(turns - std::round(turns - phase.Current()));
    sine.Aim(SineShareOf(parameters));
    feedback.Aim(LoopGain(parameters.feedback));
    phaseStep = Oscillator::StepOf(parameters.rate, sampleRate);
}

void ModulatedDelayState_v2::Fill(std::uint32_t count) {
    delay.Fill(delays.data(), count);
    depth.Fill(depths.data(), count);
    phase.Fill(phases.data(), count);
    sine.Fill(sines.data(), count);
    feedback.Fill(feedbackGains.data(), count);
}

void ModulatedDelayState_v2::Sweep(Tap& tap, std::uint32_t count, const float* ahead) const {
    Row wave;
    FillWave(wave, count, ahead);
    for (std::uint32_t i = 0; i < count; ++i) {
        // A float would leave the fraction of a long delay a dozen bits.
        const double at = (double{wave[i]} * depths[i] + 1) * delays[i];
        const auto frames = static_cast<std::int32_t>(at);
        tap.frames[i] = static_cast<std::uint32_t>(frames);
        tap.fraction[i] = static_cast<float>(at - frames);
    }
}

// Both waves only while one fades to the other.
void ModulatedDelayState_v2::FillWave(Row& wave, std::uint32_t count, const float* ahead) const {
    if (!sine.IsMoving() && sine.Current() == 1)
        return lfoPhase.FillAhead(wave.data(), count, phaseStep, ahead, SineAt);
    lfoPhase.FillAhead(wave.data(), count, phaseStep, ahead, TriangleAt);
    if (!sine.IsMoving() && sine.Current() == 0) return;
    Row sinusoid;
    lfoPhase.FillAhead(sinusoid.data(), count, phaseStep, ahead, SineAt);
    for (std::uint32_t i = 0; i < count; ++i)
        wave[i] += (sinusoid[i] - wave[i]) * sines[i];
}

float ModulatedDelayState_v2::Read(const Tap& tap, std::uint32_t i) const {
    const float fraction = tap.fraction[i];
    return ring[tap.frames[i]] * (1 - fraction) + ring[tap.frames[i] + 1] * fraction;
}

void ModulatedDelayState_v2::Run(std::uint32_t first, std::uint32_t count, const EffectProcessArgs& args) {
    const float* input = args.input[0] + first;
    float* leftOutput = args.output[0] + first;
    float* rightOutput = args.output[1] + first;
    const float gain = args.slotGain;
    for (std::uint32_t i = 0; i < count; ++i) {
        const float leftValue = Read(left, i), rightValue = Read(right, i);
        leftOutput[i] += leftValue * gain;
        rightOutput[i] += rightValue * gain;
        const float fed = FiniteSample(input[i]);
        const float heard = (leftValue + rightValue) * 0.5F;
        ring.Write(KeptInMemory(guard.Held(heard, feedbackGains[i], fed) + fed));
    }
}

}  // namespace goal::fx
