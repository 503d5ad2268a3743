#pragma once

// The anti-denormal pattern: offsets far below hearing on every block that feeds a filter or a feedback path,
// so that a tail never dies away into denormal numbers, on which a processor slows down a hundredfold. The
// renderer and the effects call it on the server's thread; it allocates nothing.

#include <cmath>
#include <cstdint>

#include "numeric/bus.h"
#include "numeric/floattuplevector.h"
#include "slib/realtime.h"

namespace goal {

/// The size of one offset, linear.
inline constexpr float antiDenormalOffset = 5e-8F;

/// Adds the offset to the samples 0, 32, 64, ... and takes it from the samples 16, 48, 80, ..., in pairs: a
/// sample whose partner is past `frames` stays as it is. So the offsets sum to zero, and 16 frames or fewer
/// stay.
void ApplyAntiDenormalPattern(float* block, std::uint32_t frames) SLIB_NONBLOCKING;

/// The same on each channel.
void ApplyAntiDenormalPattern(hcml::ac::Bus& bus) SLIB_NONBLOCKING;

/// The same on all `size` floats.
void ApplyAntiDenormalPattern(hcml::FloatTupleVector& block) SLIB_NONBLOCKING;

/// Takes what is denormal, or nearly so, to zero, and leaves the rest within a rounding: for the memory of a
/// recursive filter, at the end of each run.
inline float WithoutDenormal(float value) {
    return (value + antiDenormalOffset) - antiDenormalOffset;
}

/// What the memory of a recursive filter keeps for the next run: WithoutDenormal, and nothing of a sample
/// that isn't finite.
inline float KeptInMemory(float value) {
    constexpr float highest = 1e30F;
    const float kept = WithoutDenormal(value);
    return std::abs(kept) <= highest ? kept : 0;
}

}  // namespace goal
