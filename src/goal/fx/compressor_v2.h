#pragma once

// The compressor of the refined sound: the static curve of CompressorState, and its release, but a fast
// attack.
//
//     input ──┬──────────────────────────────────────────────────────────────> (×) ──> gain ──> output
//             └──> square ─┬──> mean of a second ────┐                          ^
//                          ├──> mean of 5 ms, -1 dB ─┼──> greatest ──> power -1/3
//                          └──> peak of 5 ms, -6 dB ─┘
//
// The mean of a second is that of the plain form, and decides about all that lasts. What sets in lifts it
// within 5 ms, and before that is held by the peak of its samples, which counts at onsets only: less 6 dB it
// lies 3 dB below the mean square of a tone. Detectors with an attack and a release of their own: D.
// Giannoulis, M. Massberg, J. D. Reiss, "Digital Dynamic Range Compressor Design" (Journal of the AES, 2012).
// Made and run by the renderer on the server's thread.

#include <array>
#include <cstdint>

#include "goal/dsp/smoothvalue.h"
#include "goal/fx/compressorparameters.h"
#include "goal/fx/effectprocessorstate.h"
#include "slib/realtime.h"

namespace goal::fx {

class CompressorState_v2 : public EffectProcessorState {
public:
    CompressorState_v2(const CompressorParameters& parameters, const RenderContext& context);

    void process(const EffectProcessArgs& args) SLIB_NONBLOCKING override;

private:
    static constexpr std::uint32_t chunkFrames = 128;
    using Row = std::array<float, chunkFrames>;

    void Detect(const float* input, Row& powers, std::uint32_t count);
    void Apply(const float* input, const Row& powers, float* output, std::uint32_t count, float slotGain);

    const double release;     // of the envelope, per frame: 20 dB of power a second
    const double attack;      // the share of the way that the mean goes in a frame
    const double onsetDecay;  // of the onset's power, per frame
    double mean = 0, onset = 0;
    double envelope =
        0.5;  // at first that of a tone of full scale, so that no effect begins with its greatest gain
    SmoothValue amount;  // 1 where the effect is on, 0 where it is off
};

}  // namespace goal::fx
