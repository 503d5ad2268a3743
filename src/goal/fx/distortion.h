#pragma once

// The running distortion: a hard clip between a low-pass and a band-pass.
//
//     input ──> one-pole low-pass ──> drive ──> clip to ±1 ──> level ──> two-pole resonator ──> output
//
// Without oversampling: the low-pass before the clip keeps down what would alias, as in the fuzz of U. Zölzer
// (ed.), "DAFX: Digital Audio Effects", chapter on nonlinear processing. Made and run by the renderer on the
// server's thread.

#include "goal/dsp/onepole.h"
#include "goal/fx/distortionparameters.h"
#include "goal/fx/effectprocessorstate.h"
#include "slib/realtime.h"

namespace goal::fx {

class DistortionState : public EffectProcessorState {
public:
    DistortionState(const DistortionParameters& parameters, const RenderContext& context);

    void process(const EffectProcessArgs& args) SLIB_NONBLOCKING override;

private:
    // y = gain*x + b1*y1 + b2*y2. Double precision holds a narrow resonance at a low frequency.
    struct BandPass {
        double gain = 0, b1 = 0, b2 = 0;
        double y1 = 0, y2 = 0;
    };

    void Design(const DistortionParameters& parameters);

    const double sampleRate;        // Hz
    const double radiansPerSample;  // of 1 Hz
    double lowpassA = 1, lowpassB = 0;
    double lowpassMemory = 0;
    BandPass bandPass;
};

}  // namespace goal::fx
