#pragma once

// The running dedicated effects, which send their slot to the low-frequency or the dialogue output:
//
//     input ──> gain ──> output
//
// Made and run by the renderer on the server's thread.

#include "goal/fx/dedicatedparameters.h"
#include "goal/fx/effectprocessorstate.h"
#include "slib/realtime.h"

namespace goal::fx {

class DedicatedState : public EffectProcessorState {
public:
    explicit DedicatedState(const DedicatedParameters& parameters);

    void process(const EffectProcessArgs& args) SLIB_NONBLOCKING override;
};

}  // namespace goal::fx
