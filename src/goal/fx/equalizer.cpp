#include "goal/fx/equalizer.h"

#include <algorithm>

#include "goal/fx/equalizer_v3.h"
#include "goal/fx/makestate.h"
#include "numeric/ambisonicorder.h"

namespace goal::fx {

EqualizerState_v2::EqualizerState_v2(const EqualizerParameters& parameters, const RenderContext& context)
    : EffectProcessorState(parameters.effectType, EffectInput::Field, EffectOutput::Field),
      design(context.sampleRate),
      cascades(hcml::ChannelsOfOrder(context.order)),
      rows(cascades.size()) {}

void EqualizerState_v2::process(const EffectProcessArgs& args) {
    const auto& p = static_cast<const EqualizerParameters&>(*args.parameters);
    const auto coefficients = design.Sections(p);
    for (std::size_t c = 0; c < cascades.size(); ++c) {
        cascades[c].SetCoefficients(coefficients);
        rows[c] = {args.input[c], args.output[c], cascades[c].sections.data()};
    }
    hcml::AddCascades(rows.data(), static_cast<std::uint32_t>(rows.size()), args.frames, args.slotGain);
    for (Cascade& cascade : cascades)
        std::ranges::for_each(cascade.sections, Settle);
}

std::unique_ptr<EffectProcessorState> EqualizerParameters::createState(const RenderContext& context) const {
    if (context.isRefined) return MakeState<EqualizerState_v3>(*this, context);
    return MakeState<EqualizerState_v2>(*this, context);
}

}  // namespace goal::fx
