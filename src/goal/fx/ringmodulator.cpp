#include "goal/fx/ringmodulator.h"

#include <algorithm>
#include <array>

#include "goal/dsp/onepole.h"
#include "goal/fx/makestate.h"
#include "goal/fx/ringmodulator_v2.h"
#include "slib/exception.h"

namespace goal::fx {
namespace {

constexpr std::uint32_t chunkFrames = 128;

using Wave = std::array<float, chunkFrames>;

void Fill(Wave& wave, Waveform waveform, const Oscillator& phase, std::uint64_t step, std::uint32_t count) {
    switch (waveform) {
        case Waveform::Sinusoid:
            return phase.Fill(wave.data(), count, step, 0, SineAt);
        case Waveform::Square:
            return phase.Fill(wave.data(), count, step, 0, SquareAt);
        case Waveform::Sawtooth:
            return phase.Fill(wave.data(), count, step, 0, SawtoothAt);
        case Waveform::Triangle:
            break;
    }
    slib::ThrowUnreachable();
}

}  // namespace

RingModulatorState::RingModulatorState(const RingModulatorParameters& parameters,
                                       const RenderContext& context)
    : EffectProcessorState(parameters.effectType, EffectInput::Mono, EffectOutput::Mono),
      sampleRate(context.sampleRate) {}

void RingModulatorState::process(const EffectProcessArgs& args) {
    const auto& parameters = static_cast<const RingModulatorParameters&>(*args.parameters);
    const std::uint64_t step = Oscillator::StepOf(parameters.frequency, sampleRate);
    // One Hz more, so that a cutoff of 0 still keeps constants away.
    const OnePole highpass =
        OnePoleOfCutoff(AngleBelowNyquist(double{parameters.highpassCutoff} + 1, sampleRate));
    const float gain = args.slotGain;
    double low = highpassMemory;
    Wave wave;
    for (std::uint32_t first = 0; first < args.frames; first += chunkFrames) {
        const std::uint32_t count = std::min(chunkFrames, args.frames - first);
        Fill(wave, parameters.waveform, phase, step, count);
        phase.Advance(count, step);
        const float* input = args.input[0] + first;
        float* output = args.output[0] + first;
        for (std::uint32_t i = 0; i < count; ++i) {
            low = low * highpass.b + input[i] * highpass.a;
            output[i] += static_cast<float>(input[i] - low) * wave[i] * gain;
        }
    }
    highpassMemory = KeptInMemory(low);
}

std::unique_ptr<EffectProcessorState> RingModulatorParameters::createState(
    const RenderContext& context) const {
    if (context.isRefined) return MakeState<RingModulatorState_v2>(*this, context);
    return MakeState<RingModulatorState>(*this, context);
}

}  // namespace goal::fx
