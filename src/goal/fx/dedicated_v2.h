#pragma once

// The dedicated effects of the refined sound: those of DedicatedState, whose gain moves smoothly. Made and
// run by the renderer on the server's thread.

#include "goal/dsp/smoothvalue.h"
#include "goal/fx/dedicatedparameters.h"
#include "goal/fx/effectprocessorstate.h"
#include "slib/realtime.h"

namespace goal::fx {

class DedicatedState_v2 : public EffectProcessorState {
public:
    DedicatedState_v2(const DedicatedParameters& parameters, const RenderContext& context);

    void process(const EffectProcessArgs& args) SLIB_NONBLOCKING override;

private:
    SmoothValue gain;
};

}  // namespace goal::fx
