#pragma once

// The complex Fourier transform of one power-of-two size, on real and imaginary parts that stand in rows of
// their own. Called on the audio thread by the partitioned transformer, which packs two real channels into
// one complex one. Nothing is allocated, and every vector target gives the same bits.

#include <cstdint>

#include "slib/realtime.h"

namespace hcml {

/// Real and imaginary parts of as many complex values; the rows are the caller's.
struct SplitComplex {
    float* real;
    float* imaginary;
};

/// The least size of a transform that these functions take.
inline constexpr std::uint32_t leastFourierSize = 16;

/// How many floats FillFourierFactors writes for a transform of `size`, a power of two from 16 up.
std::uint32_t FourierFactorCount(std::uint32_t size);

/// Writes the rotations that a transform of `size` needs.
void FillFourierFactors(std::uint32_t size, float* factors);

/// One transform. Rows are of `size` floats, should stand at a multiple of 64 bytes, and are quickest when no
/// two of them stand a multiple of 2 KiB apart.
struct Fourier {
    std::uint32_t size;    ///< a power of two from 16 up
    const float* factors;  ///< of this size, from FillFourierFactors
    SplitComplex input;    ///< in the order of time; of a half-empty one only the first size/2 floats
    SplitComplex output;   ///< in the order of the bins; overlaps neither the input nor the scratch rows
    SplitComplex scratch;  ///< left with anything; doesn't overlap the input either, which is kept
};

/// Writes to `output` the bins X[k] = sum over n of x[n] * exp(-2 pi i k n / size), without a factor. With
/// real and imaginary rows exchanged, in the input and the output, it is the inverse without a factor.
void TransformComplex(const Fourier& fourier) SLIB_NONBLOCKING;

/// The same for an input whose second half is zero: it isn't read.
void TransformHalfEmpty(const Fourier& fourier) SLIB_NONBLOCKING;

}  // namespace hcml
