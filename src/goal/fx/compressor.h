#pragma once

// The running compressor: the input times a power of its own mean square.
//
//     input ──┬──────────────────────────────────────────> (×) ──> gain ──> output
//             └──> square ──> one-pole mean ──> power -1/3 ──┘
//
// The feed-forward compressor with a detector of the mean square of G. W. McNally, "Dynamic Range Control of
// Digital Audio Signals" (Journal of the AES, 1984). Between the powers 1e-5 and 1 it compresses by 3:1: a
// mean square falling by 30 dB takes the output down by 10 dB. Made and run by the renderer on the server's
// thread.

#include "goal/fx/compressorparameters.h"
#include "goal/fx/effectprocessorstate.h"
#include "slib/realtime.h"

namespace goal::fx {

class CompressorState : public EffectProcessorState {
public:
    CompressorState(const CompressorParameters& parameters, const RenderContext& context);

    void process(const EffectProcessArgs& args) SLIB_NONBLOCKING override;

private:
    const double decay;   // of the envelope, per frame: 20 dB of power a second
    const double attack;  // 1 - decay
    double envelope = 0;  // mean square
};

}  // namespace goal::fx
