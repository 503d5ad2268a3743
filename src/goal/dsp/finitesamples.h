#pragma once

// Keeps what isn't finite out of memories that would never lose it again. For the effects that run in a ring;
// called on the server's thread, allocates nothing.

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "goal/dsp/delayring.h"
#include "slib/realtime.h"

namespace goal {

/// The sample, or 0 for one that is not a number or is beyond 1e15: no gain of an effect takes the rest to
/// infinity.
inline float FiniteSample(float sample) {
    return std::abs(sample) <= 1e15F ? sample : 0;
}

/// Writes `count` samples in order, as FiniteSample has them.
inline void WriteFinite(DelayRing<float>& ring, const float* source, std::uint32_t count) SLIB_NONBLOCKING {
    while (count > 0) {
        const std::uint32_t run = std::min(count, ring.RunAhead());
        std::transform(source, source + run, ring.Ahead(), FiniteSample);
        ring.Advance(run);
        source += run;
        count -= run;
    }
}

}  // namespace goal
