#pragma once

// A filter section of the second order on one channel, for the effects' slow paths. Owned by one effect, on
// the server's thread; nothing is allocated.

#include <cstdint>

#include "goal/dsp/onepole.h"
#include "slib/realtime.h"

namespace goal {

/// (n0 + n1/z + n2/z²) / (1 + d1/z + d2/z²), with its memory.
struct Biquad {
    double n0 = 1, n1 = 0, n2 = 0, d1 = 0, d2 = 0;
    double w1 = 0, w2 = 0;

    /// Filters `frames` samples in place.
    void Run(float* samples, std::uint32_t frames) SLIB_NONBLOCKING {
        double last = w1, before = w2;
        for (std::uint32_t i = 0; i < frames; ++i) {
            const double w = (samples[i] - d2 * before) - d1 * last;
            samples[i] = static_cast<float>(n0 * w + (n1 * last + n2 * before));
            before = last;
            last = w;
        }
        w1 = KeptInMemory(last);
        w2 = KeptInMemory(before);
    }
};

}  // namespace goal
