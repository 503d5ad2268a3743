#pragma once

// Keeps the output from clipping: a gain that falls fast and rises slowly, in steps of about a tenth of a
// millisecond, toward the one that holds a block's peak at 0.9.

#include <cstdint>

#include "orb3core/decoder/blocklimiter.h"
#include "slib/realtime.h"

namespace orb3 {

/// The state from block to block; owned by one thread.
struct Limiter : BlockLimiter {
    float gain = 1;               ///< linear, of the sample before
    std::int32_t stepFrames = 1;  ///< frames of one step
    float riseFactor = 1;         ///< of the gain in one step, above 1: 40 dB a second
    float fallFactor = 1;         ///< the same, below 1: 1800 dB a second
    float floorGain = 0.001F;     ///< a gain below it jumps up to it when it is to rise above it

    Limiter() = default;
    /// For a rate in Hz, above 0.
    explicit Limiter(double sampleRate);

    /// Where the level jumps up the gain takes its time to fall, and the first steps may stay above 1.
    float limit(float* block, std::uint32_t frames, std::uint32_t channels) SLIB_NONBLOCKING override;
    float Gain() const override { return gain; }
};

}  // namespace orb3
