#include "goal/fx/echo_v2.h"

#include <algorithm>
#include <utility>

#include "goal/dsp/finitesamples.h"
#include "goal/dsp/onepole.h"

namespace goal::fx {
namespace {

constexpr double longestDelay = 0.614;     // seconds, of both delays together, and some room
constexpr double dampingFrequency = 5000;  // Hz
constexpr double gainSeconds = 0.001;      // time constant of what moves

}  // namespace

EchoState_v2::EchoState_v2(const EchoParameters& parameters, const RenderContext& context)
    : EffectProcessorState(parameters.effectType, EffectInput::Mono, EffectOutput::Stereo),
      sampleRate(static_cast<float>(context.sampleRate)),
      taps(TapsOf(parameters)),
      fade(context.sampleRate),
      feedback(LoopGain(parameters.feedback), gainSeconds, context.sampleRate),
      spread(parameters.spread, gainSeconds, context.sampleRate),
      pole(PoleOf(parameters.damping), gainSeconds, context.sampleRate),
      lastDamping(parameters.damping),
      guard(context.sampleRate),
      ring(static_cast<std::uint32_t>(longestDelay * context.sampleRate + 1.5)) {}

EchoState_v2::Taps EchoState_v2::TapsOf(const EchoParameters& parameters) const {
    const auto delay = static_cast<std::uint32_t>(parameters.delay * sampleRate);
    return {delay, delay + static_cast<std::uint32_t>(parameters.lrDelay * sampleRate)};
}

double EchoState_v2::PoleOf(float damping) const {
    return OnePoleOfGain(0.995 - double{damping}, AngleBelowNyquist(dampingFrequency, sampleRate)).b;
}

void EchoState_v2::process(const EffectProcessArgs& args) {
    Aim(static_cast<const EchoParameters&>(*args.parameters));
    for (std::uint32_t first = 0; first < args.frames;) {
        const std::uint32_t count = ReadTaps(std::min(args.frames - first, chunkFrames));
        Run(first, count, args);
        first += count;
    }
    filterMemory = KeptInMemory(filterMemory);
    guard.Settle();
}

void EchoState_v2::Aim(const EchoParameters& parameters) {
    feedback.Aim(LoopGain(parameters.feedback));
    spread.Aim(parameters.spread);
    if (std::exchange(lastDamping, parameters.damping) != parameters.damping)
        pole.Aim(PoleOf(parameters.damping));
    const Taps wanted = TapsOf(parameters);
    if (wanted == taps || fade.IsRunning()) return;
    before = std::exchange(taps, wanted);
    fade.Start();
}

// As far as the delay line's end, the shortest delay and the fade let it: what a stretch reads was written
// before it. Returns how many frames.
std::uint32_t EchoState_v2::ReadTaps(std::uint32_t most) {
    std::uint32_t count = std::min(
        {most, taps.first + 1, ring.RunPast(taps.first), ring.RunPast(taps.second), ring.RunAhead()});
    const bool fades = fade.IsRunning();
    if (fades)
        count = std::min(
            {count, before.first + 1, ring.RunPast(before.first), ring.RunPast(before.second), fade.Left()});
    ReadInto(tapA, tapB, taps, count);
    if (!fades) return count;
    Row oldA, oldB;
    ReadInto(oldA, oldB, before, count);
    fade.Blend(oldA.data(), tapA.data(), count);
    fade.Blend(oldB.data(), tapB.data(), count);
    fade.Advance(count);
    return count;
}

void EchoState_v2::ReadInto(Row& a, Row& b, const Taps& from, std::uint32_t count) const {
    std::copy_n(ring.Past(from.first), count, a.data());
    std::copy_n(ring.Past(from.second), count, b.data());
}

void EchoState_v2::Run(std::uint32_t first, std::uint32_t count, const EffectProcessArgs& args) {
    Row feedbacks, spreads, driven;
    std::array<double, chunkFrames> poles;
    feedback.Fill(feedbacks.data(), count);
    spread.Fill(spreads.data(), count);
    pole.Fill(poles.data(), count);
    const float* input = args.input[0] + first;
    float* left = args.output[0] + first;
    float* right = args.output[1] + first;
    const float gain = args.slotGain * 0.3535F;
    for (std::uint32_t i = 0; i < count; ++i) {
        const float sum = tapA[i] + tapB[i];
        const float difference = (tapA[i] - tapB[i]) * spreads[i];
        left[i] += (sum + difference) * gain;
        right[i] += (sum - difference) * gain;
        driven[i] = sum * 0.5F;
    }
    Row fed;
    std::transform(input, input + count, fed.data(), FiniteSample);
    guard.Hold(driven.data(), feedbacks.data(), fed.data(), count);
    float* written = ring.Ahead();
    double memory = filterMemory;
    for (std::uint32_t i = 0; i < count; ++i) {
        memory = (1 - poles[i]) * (driven[i] + fed[i]) + poles[i] * memory;
        written[i] = KeptInMemory(static_cast<float>(memory));
    }
    filterMemory = memory;
    ring.Advance(count);
}

}  // namespace goal::fx
