#include "goal/fx/distortion.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "goal/fx/distortion_v2.h"
#include "goal/fx/makestate.h"

namespace goal::fx {

DistortionState::DistortionState(const DistortionParameters& parameters, const RenderContext& context)
    : EffectProcessorState(parameters.effectType, EffectInput::Mono, EffectOutput::Mono),
      sampleRate(context.sampleRate),
      radiansPerSample(2 * std::numbers::pi / sampleRate) {}

void DistortionState::process(const EffectProcessArgs& args) {
    const auto& parameters = static_cast<const DistortionParameters&>(*args.parameters);
    Design(parameters);
    const double drive = double{parameters.edge} * 200;
    const double level = double{parameters.gain} * args.slotGain * bandPass.gain;
    const double a = lowpassA, b = lowpassB, b1 = bandPass.b1, b2 = bandPass.b2;
    double low = lowpassMemory, y1 = bandPass.y1, y2 = bandPass.y2;
    const float* input = args.input[0];
    float* output = args.output[0];
    for (std::uint32_t i = 0; i < args.frames; ++i) {
        low = input[i] * a + low * b;
        // In this order what isn't a number comes out of the clip as one.
        const double clipped = std::min(1.0, std::max(-1.0, low * drive));
        const double y = b1 * y1 + (b2 * y2 + level * clipped);
        y2 = y1;
        y1 = y;
        output[i] += static_cast<float>(y);
    }
    lowpassMemory = KeptInMemory(low);
    bandPass.y1 = KeptInMemory(y1);
    bandPass.y2 = KeptInMemory(y2);
}

// The resonator's peak is exactly at the center, and its gain is such that white noise keeps its power.
void DistortionState::Design(const DistortionParameters& parameters) {
    const OnePole lowpass = OnePoleOfCutoff(AngleBelowNyquist(parameters.lowpassCutoff, sampleRate));
    lowpassA = lowpass.a;
    lowpassB = lowpass.b;
    const double r = std::exp(-radiansPerSample * parameters.eqBandwidth);
    const double center = AngleBelowNyquist(parameters.eqCenter, sampleRate);
    bandPass.b2 = -r;
    bandPass.b1 = std::cos(center) * 4 * r / (r + 1);
    bandPass.gain = std::sqrt(((r + 1) * (r + 1) - bandPass.b1 * bandPass.b1) * (1 - r) / (r + 1));
}

std::unique_ptr<EffectProcessorState> DistortionParameters::createState(const RenderContext& context) const {
    if (context.isRefined) return MakeState<DistortionState_v2>(*this, context);
    return MakeState<DistortionState>(*this, context);
}

}  // namespace goal::fx
