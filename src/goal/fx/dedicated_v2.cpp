#include "goal/fx/dedicated_v2.h"

#include <cmath>

#include "goal/dsp/gainramp.h"
#include "numeric/kernels/gainkernel.h"

namespace goal::fx {
namespace {

constexpr double gainSeconds = 0.001;  // time constant

// The gain is whatever the game says, of either sign.
float GainOf(const EffectProcessorParameters& parameters) {
    const float gain = static_cast<const DedicatedParameters&>(parameters).gain;
    return std::copysign(UsableGain(std::abs(gain)), gain);
}

}  // namespace

DedicatedState_v2::DedicatedState_v2(const DedicatedParameters& parameters, const RenderContext& context)
    : EffectProcessorState(parameters.effectType, EffectInput::Mono, parameters.outputKind),
      gain(GainOf(parameters), gainSeconds, context.sampleRate) {}

void DedicatedState_v2::process(const EffectProcessArgs& args) {
    gain.Aim(GainOf(*args.parameters));
    if (!gain.IsMoving()) {
        const auto still = static_cast<float>(gain.Current()) * args.slotGain;
        return hcml::MultiplyAddRow(args.output[0], args.input[0], still, args.vectors);
    }
    for (std::uint32_t i = 0; i < args.frames; ++i)
        args.output[0][i] += args.input[0][i] * (static_cast<float>(gain.Step()) * args.slotGain);
}

}  // namespace goal::fx
