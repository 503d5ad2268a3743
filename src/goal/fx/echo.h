#pragma once

// The running echo: a delay line with two taps, spread to two sides, and a damped feedback of both.
//
//     input ──>(+)──> one-pole low-pass ──> delay line ──┬── delay ──────────> a ──┐
//               ^                                        └── delay + lrDelay ─> b ─┤
//               │                                                                  │
//               └─────────────────── feedback / 2 <────────── a + b ───────────────┤
//                                                                                  │
//     left  <── gain <── (a + b) + spread * (a - b) <──────────────────────────────┤
//     right <── gain <── (a + b) - spread * (a - b) <──────────────────────────────┘
//
// The feedback delay is the comb filter of M. R. Schroeder, "Natural Sounding Artificial Reverberation"
// (Journal of the AES, 1962), and the low-pass in its loop that of J. A. Moorer, "About This Reverberation
// Business" (Computer Music Journal, 1979). Made and run by the renderer on the server's thread.

#include <cstdint>

#include "goal/dsp/delayring.h"
#include "goal/fx/echoparameters.h"
#include "goal/fx/effectprocessorstate.h"
#include "slib/realtime.h"

namespace goal::fx {

class EchoState : public EffectProcessorState {
public:
    /// The delays start at those of the parameters.
    EchoState(const EchoParameters& parameters, const RenderContext& context);

    void process(const EffectProcessArgs& args) SLIB_NONBLOCKING override;

private:
    struct Gains {
        float feedback, spread, output;
    };

    void DesignDamping(float damping);
    std::uint32_t RunStretch(const EffectProcessArgs& args, const Gains& gains, std::uint32_t first,
                             std::uint32_t most);

    const float sampleRate;  // Hz
    const float delayStep = 20000, lrStep = 20000;
    float delayTarget, delayCurrent;  // frames to the first tap; moves by delayStep a frame
    float lrTarget, lrCurrent;        // frames from the first tap to the second; moves by lrStep a frame
    float lastDamping = 1e20F;        // that the filter is designed for
    double filterA = 1, filterB = 0;
    double filterMemory = 0;
    DelayRing<float> ring;
};

}  // namespace goal::fx
