#pragma once

// A delay line in one piece, for loops that run many of them side by side: what is read and written in a run
// never goes round an end. One thread owns it; only the constructor allocates.

#include <algorithm>
#include <cstdint>

#include "numeric/floattuplevector.h"
#include "slib/realtime.h"

namespace goal {

class SlidingDelay {
public:
    SlidingDelay() = default;

    /// Zeros. For delays of at most `longest` samples; `room` is how many are written between two moves of
    /// what is remembered. Throws slib::OutOfMemoryException.
    SlidingDelay(std::uint32_t longest, std::uint32_t room)
        : longest(longest), end(longest), samples(longest + room) {}

    /// Before each run of at most `room` frames.
    void MakeRoom(std::uint32_t frames) SLIB_NONBLOCKING {
        if (end + frames <= samples.size) return;
        std::copy(samples.data + end - longest, samples.data + end, samples.data);
        end = longest;
    }

    /// What was written `delay` samples before the next one, and so on for as many as `delay`.
    const float* Past(std::uint32_t delay) const { return samples.data + end - delay; }

    /// Where the next samples go.
    float* Ahead() { return samples.data + end; }

    void Advance(std::uint32_t frames) { end += frames; }

private:
    std::uint32_t longest = 0;
    std::uint32_t end = 0;  // of what is written
    hcml::FloatTupleVector samples;
};

}  // namespace goal
