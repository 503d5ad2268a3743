#pragma once

// Fourier transforms of one power-of-two size: the complex one, on real and imaginary parts that stand in
// rows of their own, and that of real signals. Called on the audio thread by the partitioned transformer,
// which packs two real channels into one complex one, and by DFT. Nothing is allocated, and every vector
// target gives the same bits.

#include <cstdint>

#include "slib/realtime.h"

namespace hcml {

/// Real and imaginary parts of as many complex values; the rows are the caller's.
template <typename T>
struct SplitComplexOf {
    T* real;
    T* imaginary;
};
using SplitComplex = SplitComplexOf<float>;

/// The least size of a transform that these functions take.
inline constexpr std::uint32_t leastFourierSize = 16;

/// How many values FillFourierFactors writes for a transform of `size`, a power of two from 16 up.
std::uint32_t FourierFactorCount(std::uint32_t size);

/// Writes the rotations that a transform of `size` needs, for T = float and double.
template <typename T>
void FillFourierFactors(std::uint32_t size, T* factors);

/// One transform. Rows are of `size` values, should stand at a multiple of 64 bytes, and are quickest when no
/// two of them stand a multiple of 2 KiB apart.
template <typename T>
struct FourierOf {
    std::uint32_t size;         ///< a power of two from 16 up
    const T* factors;           ///< of this size, from FillFourierFactors
    SplitComplexOf<T> input;    ///< in the order of time; of a half-empty one only the first size/2 values
    SplitComplexOf<T> output;   ///< in the order of the bins; overlaps neither the input nor the scratch rows
    SplitComplexOf<T> scratch;  ///< left with anything; doesn't overlap the input either, which is kept
};
using Fourier = FourierOf<float>;

/// Writes to `output` the bins X[k] = sum over n of x[n] * exp(-2 pi i k n / size), without a factor. With
/// real and imaginary rows exchanged, in the input and the output, it is the inverse without a factor.
void TransformComplex(const Fourier& fourier) SLIB_NONBLOCKING;

/// The same for an input whose second half is zero: it isn't read.
void TransformHalfEmpty(const Fourier& fourier) SLIB_NONBLOCKING;

// ---- Real signals ----

/// The least size of a transform of a real signal that these functions take.
inline constexpr std::uint32_t leastRealFourierSize = 2 * leastFourierSize;

/// How many values FillRealFourierFactors writes for a transform of `size`, a power of two from 32 up.
std::uint32_t RealFourierFactorCount(std::uint32_t size);

/// Writes the rotations that a transform of `size` needs, for T = float and double.
template <typename T>
void FillRealFourierFactors(std::uint32_t size, T* factors);

/// One transform between `size` real values and size/2 + 1 complex bins, whose parts stand in turn. None of
/// the arrays overlap; those of `one` and `other`, size/2 values each, are left with anything, and are
/// quickest when no two of them stand a multiple of 2 KiB apart.
template <typename T>
struct RealFourierOf {
    std::uint32_t size;  ///< a power of two from 32 up
    const T* factors;    ///< of this size, from FillRealFourierFactors
    T* time;
    T* bins;
    SplitComplexOf<T> one;
    SplitComplexOf<T> other;
};

/// bins[k] = sum over n of time[n] * exp(-2 pi i k n / size) for k from 0 to size/2, without a factor. Keeps
/// `time`.
void TransformReal(const RealFourierOf<float>& fourier) SLIB_NONBLOCKING;
void TransformReal(const RealFourierOf<double>& fourier) SLIB_NONBLOCKING;

/// `time` becomes `size` times the inverse of `bins`, which are kept; the imaginary parts of the first and
/// the last are taken as 0.
void TransformBack(const RealFourierOf<float>& fourier) SLIB_NONBLOCKING;
void TransformBack(const RealFourierOf<double>& fourier) SLIB_NONBLOCKING;

}  // namespace hcml
