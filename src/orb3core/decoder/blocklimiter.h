#pragma once

// What keeps the output from clipping. The decoder runs it over each block before the pipe gets it, on the
// thread that decodes.

#include <cstdint>

#include "slib/realtime.h"

namespace orb3 {

class BlockLimiter {
public:
    virtual ~BlockLimiter() = default;

    /// Limits `frames` frames of `channels` interleaved samples in place, and returns their greatest
    /// magnitude before that. It looks at the whole block and no further. Samples that aren't finite become 0
    /// and don't count. Allocates nothing.
    virtual float limit(float* block, std::uint32_t frames, std::uint32_t channels) SLIB_NONBLOCKING = 0;

    /// Linear, at the end of the last block.
    virtual float Gain() const SLIB_NONBLOCKING = 0;
};

}  // namespace orb3
