#pragma once

// The equalizer of the refined sound: the filters of EqualizerState_v2. A change fades from the old filters
// to the new ones, which take over what the old ones hold, so that neither the change nor what it sets free
// is heard. Made and run by the renderer on the server's thread.

#include <vector>

#include "goal/dsp/crossfade.h"
#include "goal/fx/effectprocessorstate.h"
#include "goal/fx/equalizerdesign.h"
#include "goal/fx/equalizerparameters.h"
#include "numeric/bus.h"
#include "numeric/fixedcascadeprocessor.h"
#include "slib/realtime.h"

namespace goal::fx {

class EqualizerState_v3 : public EffectProcessorState {
public:
    EqualizerState_v3(const EqualizerParameters& parameters, const RenderContext& context);

    void process(const EffectProcessArgs& args) SLIB_NONBLOCKING override;

private:
    using Values = orb3::fx::ParametricEQParameters;
    using Cascade = hcml::dsp::FixedCascadeProcessor<hcml::sectionsPerCascade>;

    void Change(const Values& wanted);
    void Run(std::vector<Cascade>& bank, const float* const* input, float* const* output,
             std::uint32_t frames, float gain);
    void RunFading(const EffectProcessArgs& args);

    const EqualizerDesign design;
    Values values;                          // that the cascades are designed for
    std::vector<Cascade> cascades, before;  // one a channel; `before` as long as the fade runs
    std::vector<hcml::CascadeRow> rows;     // of the current run
    CrossfadeRun fade;
    hcml::ac::Bus fading, faded;  // of a block in the fade: what the cascades make, and those before
};

}  // namespace goal::fx
