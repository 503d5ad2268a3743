#include "goal/fx/compressor.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <numbers>

#include "goal/dsp/onepole.h"
#include "goal/fx/makestate.h"
#include "numeric/kernels/gainkernel.h"

namespace goal::fx {
namespace {

constexpr std::uint32_t chunkFrames = 128;
constexpr double lowestPower = 1e-5;
constexpr float exponent = -0.3333F;

// The logarithm to base 2, within 2e-7 of itself or of 1, for what isn't denormal or 0. In m = 2^e * r, with
// r from sqrt(1/2) to sqrt(2), the logarithm of r is the series of the inverse hyperbolic tangent. Any bits,
// those of what isn't a number too, give a number within ±130.
float Log2(float value) {
    constexpr auto rootOfHalf = std::bit_cast<std::int32_t>(std::numbers::sqrt2_v<float> / 2);
    constexpr float scale = 2 / std::numbers::ln2_v<float>;
    const auto bits = std::bit_cast<std::int32_t>(value);
    const std::int32_t e = (bits - rootOfHalf) >> 23;
    const auto r = std::bit_cast<float>(bits - e * (1 << 23));
    const float s = (r - 1) / (r + 1);
    const float s2 = s * s;
    return static_cast<float>(e) + scale * s * (1 + s2 * (1.0F / 3 + s2 * (1.0F / 5 + s2 * (1.0F / 7))));
}

// 2^value within 3e-7, for values within ±120: the power of the nearest integer, and the series of the rest.
float Exp2(float value) {
    constexpr std::int32_t bias = 127;
    const std::int32_t whole = static_cast<std::int32_t>(value + (bias + 0.5F)) - bias;
    const float x = (value - static_cast<float>(whole)) * std::numbers::ln2_v<float>;
    const float power =
        1 + x * (1 + x * (1.0F / 2 + x * (1.0F / 6 + x * (1.0F / 24 + x * (1.0F / 120 + x * (1.0F / 720))))));
    return power * std::bit_cast<float>((whole + bias) * (1 << 23));
}

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
                output[i] += input[i] * Exp2(exponent * Log2(powers[i])) * gain;
        } else {
            hcml::MultiplyAddRow(output, input, gain, (count + 3) / 4);
        }
    }
    envelope = KeptInMemory(power);
}

std::unique_ptr<EffectProcessorState> CompressorParameters::createState(const RenderContext& context) const {
    return MakeState<CompressorState>(*this, context);
}

}  // namespace goal::fx
