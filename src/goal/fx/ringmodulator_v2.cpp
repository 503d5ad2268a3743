#include "goal/fx/ringmodulator_v2.h"

#include <algorithm>
#include <cstddef>

#include "goal/dsp/finitesamples.h"
#include "numeric/kernels/gainkernel.h"

namespace goal::fx {
namespace {

constexpr double poleSeconds = 0.001;  // time constant
constexpr Oversampler::Design twice{.factor = 2, .upTaps = 16, .downTaps = 28, .passed = 0.44F};

}  // namespace

RingModulatorState_v2::RingModulatorState_v2(const RingModulatorParameters& parameters,
                                             const RenderContext& context)
    : EffectProcessorState(parameters.effectType, EffectInput::Mono, EffectOutput::Mono),
      sampleRate(context.sampleRate),
      pole(PoleOf(parameters), poleSeconds, sampleRate),
      oversampler(twice, chunkFrames),
      carrier{.frequency = parameters.frequency, .waveform = parameters.waveform, .phase = {}},
      fade(2 * sampleRate) {}

// One Hz more, so that a cutoff of 0 still keeps constants away.
double RingModulatorState_v2::PoleOf(const RingModulatorParameters& parameters) const {
    return OnePoleOfCutoff(AngleBelowNyquist(double{parameters.highpassCutoff} + 1, sampleRate)).b;
}

void RingModulatorState_v2::process(const EffectProcessArgs& args) {
    Aim(static_cast<const RingModulatorParameters&>(*args.parameters));
    Row made;
    for (std::uint32_t first = 0; first < args.frames; first += chunkFrames) {
        const std::uint32_t count = std::min(chunkFrames, args.frames - first);
        HighPass(args.input[0] + first, count);
        oversampler.Up(count);
        FillWave(2 * count);
        float* const even = oversampler.Phase(0);
        float* const odd = oversampler.Phase(1);
        for (std::size_t i = 0; i < count; ++i) {
            even[i] *= wave[2 * i];
            odd[i] *= wave[2 * i + 1];
        }
        oversampler.Down(made.data(), count);
        hcml::MultiplyAddRow(args.output[0] + first, made.data(), args.slotGain, (count + 3) / 4);
    }
    lowpass.memory = KeptInMemory(lowpass.memory);
}

// The new wave goes on at the phase of the old one.
void RingModulatorState_v2::Aim(const RingModulatorParameters& parameters) {
    pole.Aim(PoleOf(parameters));
    if (fade.IsRunning() || carrier.IsFor(parameters)) return;
    before = carrier;
    carrier.frequency = parameters.frequency;
    carrier.waveform = parameters.waveform;
    fade.Start();
}

void RingModulatorState_v2::HighPass(const float* input, std::uint32_t count) {
    float* const high = oversampler.Input();
    std::transform(input, input + count, high, FiniteSample);
    std::copy_n(high, count, low.data());
    if (!pole.IsMoving()) {
        lowpass.Run(pole.Current(), low.data(), count);
    } else {
        for (std::uint32_t i = 0; i < count; ++i)
            lowpass.Run(pole.Step(), &low[i], 1);
    }
    for (std::uint32_t i = 0; i < count; ++i)
        high[i] -= low[i];
}

void RingModulatorState_v2::FillWave(std::uint32_t samples) {
    Run(carrier, wave, samples);
    if (!fade.IsRunning()) return;
    const std::uint32_t fading = std::min(samples, fade.Left());
    Run(before, faded, fading);
    fade.Blend(faded.data(), wave.data(), fading);
    fade.Advance(fading);
}

void RingModulatorState_v2::Run(Carrier& from, WaveRow& values, std::uint32_t samples) {
    const std::uint64_t step = Oscillator::StepOf(from.frequency, 2 * sampleRate);
    waves.Fill(values.data(), samples, from.waveform, from.phase, step);
    from.phase.Advance(samples, step);
}

}  // namespace goal::fx
