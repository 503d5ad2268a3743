#pragma once

// The discrete Fourier transform of real signals, of one power-of-two size. Set up before audio starts, since
// setSize allocates and computes its rotations; the transforms themselves take no lock, allocate nothing and
// run on any thread, one at a time for each object.

#include <complex>
#include <cstdint>

#include "numeric/alignedmemory.h"
#include "numeric/genericvector.h"
#include "numeric/kernels/fourierkernel.h"
#include "slib/realtime.h"

namespace hcml {

/// For T = float and double. With N = `size`, the forward transform of x is X[k] = sum over n of
/// x[n] * exp(-2 pi i k n / N) for the bins k from 0 to N/2, without a factor; the inverse has the factor 1/N
/// and takes the bins above N/2 as the conjugates of those below.
///
/// Every transform goes through the two buffers. A caller that wants the whole complex spectrum, or has its
/// signal in parts, may fill `timeBuffer`, call ExecuteForward and use `frequencyBuffer` in place.
template <typename T>
class DFT {
public:
    std::uint32_t size = 0;                      ///< N; 0 before setSize
    T* timeBuffer = nullptr;                     ///< owned; N values
    std::complex<T>* frequencyBuffer = nullptr;  ///< owned; N/2 + 1 bins
    T inverseScale = 0;                          ///< 1/N

    DFT() = default;
    DFT(const DFT&) = delete;
    DFT& operator=(const DFT&) = delete;

    /// Makes buffers and rotations for N = `n`; nothing happens when that is the size already. The buffers
    /// then hold anything. Throws slib::BadParameterException, changing nothing, for an `n` that is 0 or no
    /// power of two; slib::IntegrityFailureException for one above 2^30, and slib::OutOfMemoryException,
    /// leaving `size` 0.
    void setSize(std::uint32_t n);

    /// frequencyBuffer becomes the transform of timeBuffer.
    void ExecuteForward();
    /// timeBuffer becomes N times the inverse of frequencyBuffer.
    void ExecuteInverse();

    /// Writes the N/2 + 1 bins of the N values at `signal` to `spectrum`, the caller's and of any alignment.
    void forward(const T* signal, std::complex<T>* spectrum);
    /// Sizes `signal` to N and writes the inverse of the N/2 + 1 bins of `spectrum` to it. Throws
    /// slib::BadParameterException for any other number of bins, and when `signal` has another size what its
    /// resizing throws.
    void inverse(const GenericVector<std::complex<T>, 1>& spectrum, GenericVector<T, 1>& signal);

    /// Writes the bins of the N values at `source` to two arrays of N/2 + 1 values.
    void forwardSplit(const T* source, T* real, T* imaginary) SLIB_NONBLOCKING;
    /// Writes the inverse of N/2 + 1 bins to the N values at `destination`.
    void inverseSplit(const T* real, const T* imaginary, T* destination) SLIB_NONBLOCKING;

private:
    void Allocate(std::uint32_t n);

    AlignedFloats memory;  // of all that follows and of both buffers
    RealFourierOf<T> plan{};
};

extern template class DFT<float>;
extern template class DFT<double>;

}  // namespace hcml
