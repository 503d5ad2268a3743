#pragma once

// The running ring modulator: the product of the high-passed input and a wave.
//
//     input ──┬─────────────────────────(+)──> (×) ──> gain ──> output
//             └──> one-pole low-pass ──(-)┘     ^
//                                     wave(t) ──┘
//
// A sine carrier of frequency f turns each partial p into p + f and |p - f|: U. Zölzer (ed.), "DAFX: Digital
// Audio Effects", chapter on modulators. The square and the sawtooth are plain, with all their harmonics and
// the aliases of these. Made and run by the renderer on the server's thread.

#include "goal/dsp/oscillator.h"
#include "goal/fx/effectprocessorstate.h"
#include "goal/fx/ringmodulatorparameters.h"
#include "slib/realtime.h"

namespace goal::fx {

class RingModulatorState : public EffectProcessorState {
public:
    RingModulatorState(const RingModulatorParameters& parameters, const RenderContext& context);

    /// Throws slib::IntegrityFailureException for a waveform that is none of the ring modulator's.
    void process(const EffectProcessArgs& args) SLIB_NONBLOCKING override;

private:
    const double sampleRate;  // Hz
    Oscillator phase;
    double highpassMemory = 0;
};

}  // namespace goal::fx
