#include "goal/fx/dedicated.h"

#include <cmath>

#include "goal/dsp/gainramp.h"
#include "goal/fx/dedicated_v2.h"
#include "goal/fx/makestate.h"
#include "numeric/kernels/gainkernel.h"

namespace goal::fx {

DedicatedState::DedicatedState(const DedicatedParameters& parameters)
    : EffectProcessorState(parameters.effectType, EffectInput::Mono, parameters.outputKind) {}

void DedicatedState::process(const EffectProcessArgs& args) {
    // The gain is whatever the game says, of either sign.
    const float gain = static_cast<const DedicatedParameters&>(*args.parameters).gain * args.slotGain;
    const float usable = std::copysign(UsableGain(std::abs(gain)), gain);
    hcml::MultiplyAddRow(args.output[0], args.input[0], usable, args.vectors);
}

std::unique_ptr<EffectProcessorState> DedicatedParameters::createState(const RenderContext& context) const {
    if (context.isRefined) return MakeState<DedicatedState_v2>(*this, context);
    return MakeState<DedicatedState>(*this);
}

}  // namespace goal::fx
