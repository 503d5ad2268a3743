#pragma once

// The running equalizer: a low shelf, two peaks and a high shelf over the whole sound field of its slot.
//
//     each channel ──> low and high shelf, one section ──> peak 1 ──> peak 2 ──> gain ──> the same channel
//
// EqualizerDesign has the formulas. Made and run by the renderer on the server's thread.

#include <vector>

#include "goal/fx/effectprocessorstate.h"
#include "goal/fx/equalizerdesign.h"
#include "goal/fx/equalizerparameters.h"
#include "numeric/fixedcascadeprocessor.h"
#include "slib/realtime.h"

namespace goal::fx {

class EqualizerState_v2 : public EffectProcessorState {
public:
    EqualizerState_v2(const EqualizerParameters& parameters, const RenderContext& context);

    void process(const EffectProcessArgs& args) SLIB_NONBLOCKING override;

private:
    using Cascade = hcml::dsp::FixedCascadeProcessor<3>;

    const EqualizerDesign design;
    std::vector<Cascade> cascades;       // one a channel
    std::vector<hcml::CascadeRow> rows;  // of the current block
};

}  // namespace goal::fx
