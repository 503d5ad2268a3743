#pragma once

// Samples between the samples: an interpolating filter whose row of taps is picked by the fraction of the
// position. Called by the sinc source readers on the audio thread, once per stretch of a ring that doesn't
// wrap. Nothing is allocated, and every vector target gives the same bits.

#include <cstdint>

#include "slib/realtime.h"

namespace hcml {

/// One filter of 64 phases: the row of phase p, for a position p/64 of a frame past a frame, is at rows[p *
/// taps].
struct SincFilter {
    const float* rows;   ///< 64 * taps floats, the caller's
    std::uint32_t taps;  ///< 4, 8 or 16
};

/// Where the windows of a run start. Both in 13.19 fixed point, in frames: 19 bits of fraction, of which the
/// upper 6 are the phase. No window of the run starts at 2^13 frames or beyond.
struct SincWalk {
    std::uint32_t position;  ///< of the first window, from the caller's input frame 0
    std::uint32_t step;      ///< from output to output
};

/// Writes `count` floats to `output`. With r = position + k * step and the row of phase (r >> 13) & 63
///
///     output[k] = sum over t of row[t] * input[(r >> 19) + t]
///
/// The products are rounded, and summed by folding: the upper half of them is added to the lower half,
/// product by product, and so on until one is left. With 4 taps that is (P0 + P2) + (P1 + P3). Reads the
/// windows of all outputs and nothing else. `output` overlaps none of them. Any alignment will do.
void ProduceSinc(float* output, std::uint32_t count, const float* input, SincFilter filter,
                 SincWalk walk) SLIB_NONBLOCKING;

/// One filter of 2^phasesLog2 phases whose rows are blended: the row of phase p is at rows[p * taps], and the
/// last, of phase 1, is the first a tap later.
struct BlendedSincFilter {
    const float* rows;         ///< (2^phasesLog2 + 1) * taps floats, the caller's
    std::uint32_t taps;        ///< a multiple of 16
    std::uint32_t phasesLog2;  ///< 0 to 12
};

/// As ProduceSinc, with a line between the two rows around the position. With row a of the phase below it,
/// b of the phase above, and t, 0 to 1, the place between the two,
///
///     A[i] = sum over c of a[16c + i] * input[(r >> 19) + 16c + i], from c = 0 up, i from 0 to 15
///     B[i] = the same of b
///     P[i] = A[i] + t * (B[i] - A[i])
///     output[k] = the sum of P, folded as above
void ProduceBlendedSinc(float* output, std::uint32_t count, const float* input, BlendedSincFilter filter,
                        SincWalk walk) SLIB_NONBLOCKING;

}  // namespace hcml
