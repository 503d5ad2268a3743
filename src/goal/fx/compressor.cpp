#include "goal/fx/compressor.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

#include "goal/dsp/onepole.h"
#include "goal/fx/compressor_v2.h"
#include "goal/fx/compressorcurve.h"
#include "goal/fx/makestate.h"
#include "numeric/kernels/gainkernel.h"

namespace goal::fx {
namespace {

constexpr std::uint32_t chunkFrames = 128;
}  // namespace

CompressorState::CompressorState(const CompressorParameters& parameters, const RenderContext& context)
    : EffectProcessorState(parameters.effectType, EffectInput::Mono, EffectOutput::Mono),
      decay(std::pow(0.01, 1 / context.sampleRate)),
      attack(1 - decay) {}

void CompressorState::process(const EffectProcessArgs& args) {
    const bool isOn = static_cast<const CompressorParameters&>(*args.parameters).isOn;
    const float gain = isOn ? args.slotGain * 0.5F : args.slotGain;
    double power = envelope;
    std::array<float, chunkFrames> powers;
    for (std::uint32_t first = 0; first < args.frames; first += chunkFrames) {
        const std::uint32_t count = std::min(chunkFrames, args.frames - first);
        const float* input = args.input[0] + first;
        float* output = args.output[0] + first;
        for (std::uint32_t i = 0; i < count; ++i) {
            power = double{input[i]} * input[i] * attack + power * decay;
            powers[i] = static_cast<float>(power + lowestPower);
        }
        if (isOn) {
            for (std::uint32_t i = 0; i < count; ++i)
                output[i] += input[i] * CurveAt(powers[i]) * gain;
        } else {
            hcml::MultiplyAddRow(output, input, gain, (count + 3) / 4);
        }
    }
    envelope = KeptInMemory(power);
}

std::unique_ptr<EffectProcessorState> CompressorParameters::createState(const RenderContext& context) const {
    if (context.isRefined) return MakeState<CompressorState_v2>(*this, context);
    return MakeState<CompressorState>(*this, context);
}

}  // namespace goal::fx
