#pragma once

// The diffuser of the reverb, Schroeder's all-pass (1961) with one delay line for both of its branches:
//
//     x ──(+)── v ──┬── ring ──┬── d ──(+)── y = d - c·v
//          └── c·d ───│──────────┘       │
//                     └────── -c·v ──────┘
//
// It smears each echo into many and leaves the level of every frequency. Run on the server's thread inside
// the block: only the constructor allocates.

#include <cstdint>

#include "goal/dsp/delayring.h"
#include "slib/realtime.h"

namespace goal {

class AllPassFilter {
public:
    const std::uint32_t delay;  ///< samples that the ring holds before the one to read: the length less 1
    const float coefficient;    ///< c at the full amount, negative: 60 dB of decay in 0.3 s

    /// A delay of `seconds`, at least a sample and at most 20 ms, at the rate in Hz. Throws
    /// slib::OutOfMemoryException.
    AllPassFilter(double seconds, float sampleRate);

    /// Filters a block in place, with c at `amount` times the coefficient. Within the first `glideFrames` c
    /// moves there from the `amount` of the block before.
    void Run(float* samples, std::uint32_t frames, float amount, std::uint32_t glideFrames) SLIB_NONBLOCKING;

private:
    DelayRing<float> ring;
    float current = 0;  // c at the end of the last block
    bool started = false;
};

}  // namespace goal
