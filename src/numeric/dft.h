#pragma once

// The discrete Fourier transform of real signals, of one power-of-two size. Set up before audio starts, since
// planning is slow and takes a lock of the process; the transforms themselves take no lock, allocate nothing
// and run on any thread, one at a time for each object.

#include <complex>
#include <cstdint>

#include "numeric/genericvector.h"
#include "slib/realtime.h"

// What the plans point to, the transform library's own.
struct fftwf_plan_s;
struct fftw_plan_s;

namespace hcml {

template <typename T>
struct DFTPlan;
template <>
struct DFTPlan<float> {
    using Pointer = fftwf_plan_s*;
};
template <>
struct DFTPlan<double> {
    using Pointer = fftw_plan_s*;
};

/// For T = float and double. With N = `size`, the forward transform of x is X[k] = sum over n of
/// x[n] * exp(-2 pi i k n / N) for the bins k from 0 to N/2, without a factor; the inverse has the factor 1/N
/// and takes the bins above N/2 as the conjugates of those below.
///
/// Every transform goes through the two buffers. A caller that wants the whole complex spectrum, or has its
/// signal in parts, may fill `timeBuffer`, call ExecuteForward and use `frequencyBuffer` in place.
template <typename T>
class DFT {
public:
    std::uint32_t size = 0;                              ///< N; 0 without plans
    T* timeBuffer = nullptr;                             ///< owned; N values
    std::complex<T>* frequencyBuffer = nullptr;          ///< owned; N/2 + 1 bins
    typename DFTPlan<T>::Pointer forwardPlan = nullptr;  ///< owned; timeBuffer to frequencyBuffer
    typename DFTPlan<T>::Pointer inversePlan = nullptr;  ///< owned; the other way, with no factor
    T inverseScale = 0;                                  ///< 1/N

    DFT() = default;
    DFT(const DFT&) = delete;
    DFT& operator=(const DFT&) = delete;
    ~DFT();

    /// Makes buffers and plans for N = `n`; nothing happens when that is the size already. The buffers then
    /// hold anything. Throws slib::BadParameterException, changing nothing, for an `n` that is 0 or no power
    /// of two, and slib::OutOfMemoryException or slib::IntegrityFailureException, leaving `size` 0.
    void setSize(std::uint32_t n);

    /// Runs `forwardPlan`: frequencyBuffer becomes the transform of timeBuffer.
    void ExecuteForward();
    /// Runs `inversePlan`: timeBuffer becomes N times the inverse of frequencyBuffer, which is overwritten.
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
    void Free();
};

extern template class DFT<float>;
extern template class DFT<double>;

/// Gives back what planning keeps from one transform to the next. Called when no transform has a size, as the
/// process or this library ends; from any thread.
void ReleasePlanningMemory();

}  // namespace hcml
