#pragma once

// Linear interpolation of one channel of float data at an even step. Called by the linear source readers on
// the audio thread, once per stretch of a buffer. Nothing is allocated, and every vector target gives the
// same bits.

#include <cstdint>

#include "slib/realtime.h"

namespace hcml {

/// Where the outputs of a stretch fall. Both in 48.16 fixed point, in frames: 16 bits of fraction.
struct LinearWalk {
    std::uint64_t position;  ///< of the first output, from the caller's input frame 0
    std::uint64_t step;      ///< from output to output, any value
};

/// Writes `count` floats to `output`. With p = position + k * step, i = p >> 16 and f = p & 0xFFFF
///
///     output[k] = (65536 - f) * input[i - 1] + f * input[i]
///
/// with both factors exact as floats, and each product and the sum rounded. The result is thus 65536 times
/// too high. Reads from input[(position >> 16) - 1], which for a position below 1 is input[-1], to input[i]
/// of the last output, and nothing else. `output` overlaps none of that. Any alignment will do.
void InterpolateLinear(float* output, std::uint32_t count, const float* input,
                       LinearWalk walk) SLIB_NONBLOCKING;

}  // namespace hcml
