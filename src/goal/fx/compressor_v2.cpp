#include "goal/fx/compressor_v2.h"

#include <algorithm>
#include <cmath>

#include "goal/dsp/onepole.h"
#include "goal/fx/compressorcurve.h"
#include "numeric/kernels/gainkernel.h"

namespace goal::fx {
namespace {

constexpr double attackSeconds = 0.005;
constexpr double shareOfMean = 1 / 1.3;  // below what the mean of a tone of 50 Hz swings by
constexpr double switchSeconds = 0.001;  // time constant

double DecayOf(double seconds, double sampleRate) {
    return std::exp(-1 / (seconds * sampleRate));
}

}  // namespace

CompressorState_v2::CompressorState_v2(const CompressorParameters& parameters, const RenderContext& context)
    : EffectProcessorState(parameters.effectType, EffectInput::Mono, EffectOutput::Mono),
      release(std::pow(0.01, 1 / context.sampleRate)),
      attack(1 - DecayOf(attackSeconds, context.sampleRate)),
      onsetDecay(DecayOf(attackSeconds, context.sampleRate)),
      amount(parameters.isOn ? 1 : 0, switchSeconds, context.sampleRate) {}

void CompressorState_v2::process(const EffectProcessArgs& args) {
    amount.Aim(static_cast<const CompressorParameters&>(*args.parameters).isOn ? 1 : 0);
    Row powers;
    for (std::uint32_t first = 0; first < args.frames; first += chunkFrames) {
        const std::uint32_t count = std::min(chunkFrames, args.frames - first);
        Detect(args.input[0] + first, powers, count);
        Apply(args.input[0] + first, powers, args.output[0] + first, count, args.slotGain);
    }
    mean = KeptInMemory(mean);
    envelope = KeptInMemory(envelope);
    onset = KeptInMemory(onset);
}

// In this order the maxima take no value that isn't a number.
void CompressorState_v2::Detect(const float* input, Row& powers, std::uint32_t count) {
    for (std::uint32_t i = 0; i < count; ++i) {
        const double square = double{input[i]} * input[i];
        mean += (square - mean) * attack;
        envelope = std::max(envelope * release + square * (1 - release), mean * shareOfMean);
        onset = std::max(onset * onsetDecay, square * 0.25);
        powers[i] = static_cast<float>(std::max(envelope, onset) + lowestPower);
    }
}

void CompressorState_v2::Apply(const float* input, const Row& powers, float* output, std::uint32_t count,
                               float slotGain) {
    if (!amount.IsMoving() && amount.Current() == 0)
        return hcml::MultiplyAddRow(output, input, slotGain, (count + 3) / 4);
    Row amounts;
    amount.Fill(amounts.data(), count);
    for (std::uint32_t i = 0; i < count; ++i)
        output[i] += input[i] * ((0.5F * CurveAt(powers[i]) - 1) * amounts[i] + 1) * slotGain;
}

}  // namespace goal::fx
