#pragma once

// What a convolution does between its transforms: half spectra of real signals out of the spectrum of two of
// them packed into one, their products with the spectra of responses, and the way back. Called on the audio
// thread by the partitioned transformer. Nothing is allocated, and every vector target gives the same bits.
//
// A half spectrum of transforms of `size` has the bins 0 to size/2, real and imaginary parts in rows of their
// own. Rows are quickest at a multiple of 64 bytes, no two of them a multiple of 2 KiB apart.

#include <cstdint>

#include "numeric/kernels/fourierkernel.h"
#include "slib/realtime.h"

namespace hcml {

/// The half spectra of two real signals.
struct SpectrumPair {
    SplitComplex first, second;
};

/// With z the signal first + i * second and `packed` its spectrum of `size` bins, writes twice the half
/// spectra of both: packed[k] + conj(packed[size - k]) and (packed[k] - conj(packed[size - k])) / i. `size`
/// is a multiple of 8. The rows of `packed` have room for size + 1 floats, the last of which is overwritten.
void SplitPacked(std::uint32_t size, SplitComplex packed, SpectrumPair pair) SLIB_NONBLOCKING;

/// The way back, without the factor: writes first[k] + i * second[k] to `packed` for the bins up to size/2
/// and conj(first[k]) + i * conj(second[k]) to size - k for the others. The bins 0 and size/2 of a real
/// signal are real. The rows of `packed` have room for size + 1 floats, the last of which is left with
/// anything.
void JoinPacked(std::uint32_t size, SpectrumPair pair, SplitComplex packed) SLIB_NONBLOCKING;

/// A signal's spectrum and those of the responses that it is multiplied by. Plain rows, the caller's.
struct SpectrumProduct {
    const float* signalReal;
    const float* signalImaginary;
    const float* responseReal[2];       ///< for the first sum and the second
    const float* responseImaginary[2];  ///< for the first sum and the second
};

/// Adds to each bin of `sum` the `count` complex products s * r of the first responses, in their order:
/// r.re * s.re - r.im * s.im to the real part and r.re * s.im + r.im * s.re to the imaginary one, every
/// operation rounded. All rows have `vectors` * 4 floats, and a sum overlaps no other row.
void AddSpectrumProducts(SplitComplex sum, const SpectrumProduct* products, std::uint32_t count,
                         std::uint32_t vectors) SLIB_NONBLOCKING;

/// The same for two sums, the second of the second responses, to the same bits: quicker, since each signal is
/// read once.
void AddSpectrumProductsToTwo(SpectrumPair sums, const SpectrumProduct* products, std::uint32_t count,
                              std::uint32_t vectors) SLIB_NONBLOCKING;

}  // namespace hcml
