#include "goal/fx/distortion_v2.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "goal/dsp/finitesamples.h"
#include "goal/dsp/onepole.h"
#include "numeric/kernels/clipkernel.h"

namespace goal::fx {
namespace {

constexpr double gainSeconds = 0.001;  // time constant of what moves
constexpr Oversampler::Design fourTimes{.factor = 4, .upTaps = 8, .downTaps = 14, .passed = 0.42F};

double DriveOf(const DistortionParameters& parameters) {
    return double{parameters.edge} * 200;
}

double PoleOf(const DistortionParameters& parameters, double sampleRate) {
    return OnePoleOfCutoff(AngleBelowNyquist(parameters.lowpassCutoff, sampleRate)).b;
}

}  // namespace

DistortionState_v2::DistortionState_v2(const DistortionParameters& parameters, const RenderContext& context)
    : EffectProcessorState(parameters.effectType, EffectInput::Mono, EffectOutput::Mono),
      sampleRate(context.sampleRate),
      drive(DriveOf(parameters), gainSeconds, sampleRate),
      level(parameters.gain, gainSeconds, sampleRate),
      pole(PoleOf(parameters, sampleRate), gainSeconds, sampleRate),
      oversampler(fourTimes, chunkFrames),
      resonator(Design(parameters)),
      fade(sampleRate) {}

void DistortionState_v2::process(const EffectProcessArgs& args) {
    Aim(static_cast<const DistortionParameters&>(*args.parameters));
    for (std::uint32_t first = 0; first < args.frames; first += chunkFrames) {
        const std::uint32_t count = std::min(chunkFrames, args.frames - first);
        Drive(args.input[0] + first, count);
        oversampler.Up(count);
        Clip(count);
        oversampler.Down(clipped.data(), count);
        Resonate(args.output[0] + first, count, args.slotGain);
    }
    lowpass.memory = KeptInMemory(lowpass.memory);
    resonator.Settle();
    before.Settle();
}

// The resonator's peak is exactly at the center, and its gain is such that white noise keeps its power.
DistortionState_v2::Resonator DistortionState_v2::Design(const DistortionParameters& parameters) const {
    Resonator made{.center = parameters.eqCenter, .width = parameters.eqBandwidth};
    const double r = std::exp(-2 * std::numbers::pi / sampleRate * parameters.eqBandwidth);
    made.b2 = -r;
    made.b1 = std::cos(AngleBelowNyquist(parameters.eqCenter, sampleRate)) * 4 * r / (r + 1);
    made.gain = std::sqrt(((r + 1) * (r + 1) - made.b1 * made.b1) * (1 - r) / (r + 1));
    return made;
}

// The new resonator goes on with the amplitude and the phase of the old one, as its own frequency has them: a
// resonance at 20 kHz that went on sample by sample at 80 Hz would be a hundred times as loud.
void DistortionState_v2::Aim(const DistortionParameters& parameters) {
    drive.Aim(DriveOf(parameters));
    level.Aim(parameters.gain);
    pole.Aim(PoleOf(parameters, sampleRate));
    if (fade.IsRunning() ||
        (parameters.eqCenter == resonator.center && parameters.eqBandwidth == resonator.width))
        return;
    const auto cosine = [](const Resonator& of) { return of.b1 / (2 * std::sqrt(-of.b2)); };
    const auto sine = [&](const Resonator& of) { return std::sqrt(1 - cosine(of) * cosine(of)); };
    before = std::exchange(resonator, Design(parameters));
    const double quadrature = (before.y1 * cosine(before) - before.y2 * std::sqrt(-before.b2)) / sine(before);
    resonator.y1 = before.y1;
    resonator.y2 = (before.y1 * cosine(resonator) - quadrature * sine(resonator)) / std::sqrt(-resonator.b2);
    fade.Start();
}

void DistortionState_v2::Drive(const float* input, std::uint32_t count) {
    float* const driven = oversampler.Input();
    std::transform(input, input + count, driven, FiniteSample);
    if (!pole.IsMoving()) {
        lowpass.Run(pole.Current(), driven, count);
    } else {
        for (std::uint32_t i = 0; i < count; ++i)
            lowpass.Run(pole.Step(), driven + i, 1);
    }
    drive.Fill(drives.data(), count);
    for (std::uint32_t i = 0; i < count; ++i)
        driven[i] *= drives[i];
}

// From each sample of the higher rate to the next, the last first, which are still unclipped when they are
// read.
void DistortionState_v2::Clip(std::uint32_t count) {
    const std::uint32_t vectors = (count + 3) / 4;
    std::array<float, chunkFrames + 1> before;  // the last samples of the frames before
    before[0] = lastDriven;
    std::copy_n(oversampler.Phase(3), chunkFrames, before.data() + 1);
    lastDriven = before[count];
    for (std::uint32_t p = 3; p > 0; --p)
        hcml::MeanOfClipRow(oversampler.Phase(p), oversampler.Phase(p - 1), oversampler.Phase(p), vectors);
    hcml::MeanOfClipRow(oversampler.Phase(0), before.data(), oversampler.Phase(0), vectors);
}

void DistortionState_v2::Resonate(float* output, std::uint32_t count, float gain) {
    level.Fill(levels.data(), count);
    for (std::uint32_t i = 0; i < count; ++i)
        clipped[i] *= levels[i];
    resonator.Run(clipped.data(), made.data(), count);
    if (fade.IsRunning()) {
        const std::uint32_t fading = std::min(count, fade.Left());
        before.Run(clipped.data(), faded.data(), fading);
        fade.Blend(faded.data(), made.data(), fading);
        fade.Advance(fading);
    }
    for (std::uint32_t i = 0; i < count; ++i)
        output[i] += made[i] * gain;
}

// Two samples at a time, each from those before both, so that the next pair waits out two operations and not
// four (look-ahead: K. K. Parhi and D. G. Messerschmitt, 1989).
void DistortionState_v2::Resonator::Run(const float* input, float* output, std::uint32_t count) {
    const double g = gain, a1 = b1, a2 = b2, c1 = b1 * b1 + b2, c2 = b1 * b2;
    double z1 = y1, z2 = y2;
    std::uint32_t i = 0;
    for (; i + 2 <= count; i += 2) {
        const double x0 = g * input[i], x1 = g * input[i + 1];
        const double first = a1 * z1 + (a2 * z2 + x0);
        const double second = c1 * z1 + (c2 * z2 + (a1 * x0 + x1));
        output[i] = static_cast<float>(first);
        output[i + 1] = static_cast<float>(second);
        z2 = first;
        z1 = second;
    }
    if (i < count) {
        const double last = a1 * z1 + (a2 * z2 + g * input[i]);
        output[i] = static_cast<float>(last);
        z2 = std::exchange(z1, last);
    }
    y1 = z1;
    y2 = z2;
}

void DistortionState_v2::Resonator::Settle() {
    y1 = KeptInMemory(y1);
    y2 = KeptInMemory(y2);
}

}  // namespace goal::fx
