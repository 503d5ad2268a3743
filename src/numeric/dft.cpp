#include "numeric/dft.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <type_traits>
#include <utility>

#include "slib/exception.h"

namespace hcml {
namespace {

constexpr std::uint32_t greatestSize = 1U << 30;

// Gives rows out of one block: each at a multiple of 128 bytes, and no two of a power-of-two length a
// multiple of 2 KiB apart. Without a block it only counts.
template <typename T>
class Rows {
public:
    explicit Rows(float* block) : block(block) {}

    T* Take(std::uint64_t count) {
        constexpr std::uint64_t line = blockAlignment / sizeof(T);
        T* const row = block == nullptr ? nullptr : reinterpret_cast<T*>(block) + taken;
        taken += (count + line - 1) / line * line + line;
        return row;
    }
    std::uint64_t Floats() const { return taken * (std::is_same_v<T, double> ? 2 : 1); }

private:
    float* const block;
    std::uint64_t taken = 0;
};

// ---- Sizes below what the kernel takes, from 2 to 16, unrolled: the even and the odd values each by half
// the size ----

// Calls `body` with the constants from 0 to n - 1.
template <std::size_t n, class Body>
void Unrolled(Body body) {
    [&]<std::size_t... i>(std::index_sequence<i...>) {
        (body(std::integral_constant<std::size_t, i>()), ...);
    }
    (std::make_index_sequence<n>());
}

// The bins of a real signal of n values. Those of the first and the last bin are real.
template <typename T, std::size_t n>
struct SmallBins {
    std::array<T, n / 2 + 1> re, im;
};

template <typename T>
struct SmallComplex {
    T re, im;
};

// v * exp(-2 pi i k / n), for n up to 16 and k below n / 4. At an eighth of a turn one rounding less than by
// products.
template <std::size_t k, std::size_t n, typename T>
SmallComplex<T> Turned(SmallComplex<T> v) {
    constexpr std::array<T, 4> cosines{1, T(0.92387953251128675613L), std::numbers::sqrt2_v<T> / 2,
                                       T(0.38268343236508977173L)};
    constexpr T c = cosines[k * (16 / n)], s = cosines[4 - k * (16 / n)];
    if constexpr (8 * k == n)
        return {c * (v.re + v.im), c * (v.im - v.re)};
    else
        return {v.re * c + v.im * s, v.im * c - v.re * s};
}

template <typename T, std::size_t n>
SmallBins<T, n> SmallForward(const T* x, std::size_t stride) {
    SmallBins<T, n> bins;
    if constexpr (n == 2) {
        bins.re = {x[0] + x[stride], x[0] - x[stride]};
    } else {
        const SmallBins<T, n / 2> even = SmallForward<T, n / 2>(x, 2 * stride);
        const SmallBins<T, n / 2> odd = SmallForward<T, n / 2>(x + stride, 2 * stride);
        bins.re[0] = even.re[0] + odd.re[0];
        bins.re[n / 2] = even.re[0] - odd.re[0];
        bins.re[n / 4] = even.re[n / 4];
        bins.im[n / 4] = -odd.re[n / 4];
        Unrolled<n / 4 - 1>([&](auto i) {
            constexpr std::size_t k = i + 1;
            const auto [re, im] = Turned<k, n>(SmallComplex<T>{odd.re[k], odd.im[k]});
            bins.re[k] = even.re[k] + re;
            bins.im[k] = even.im[k] + im;
            bins.re[n / 2 - k] = even.re[k] - re;
            bins.im[n / 2 - k] = im - even.im[k];
        });
    }
    return bins;
}

// The steps of SmallForward from the last to the first.
template <typename T, std::size_t n>
void SmallInverse(const SmallBins<T, n>& bins, T* x, std::size_t stride) {
    if constexpr (n == 2) {
        x[0] = bins.re[0] + bins.re[1];
        x[stride] = bins.re[0] - bins.re[1];
    } else {
        SmallBins<T, n / 2> even, odd;
        even.re[0] = bins.re[0] + bins.re[n / 2];
        odd.re[0] = bins.re[0] - bins.re[n / 2];
        even.re[n / 4] = 2 * bins.re[n / 4];
        odd.re[n / 4] = -2 * bins.im[n / 4];
        Unrolled<n / 4 - 1>([&](auto i) {
            constexpr std::size_t k = i + 1;
            const T re = bins.re[k] - bins.re[n / 2 - k], im = bins.im[k] + bins.im[n / 2 - k];
            even.re[k] = bins.re[k] + bins.re[n / 2 - k];
            even.im[k] = bins.im[k] - bins.im[n / 2 - k];
            // The other way round: the conjugate of what is turned as a conjugate.
            const auto turned = Turned<k, n>(SmallComplex<T>{re, -im});
            odd.re[k] = turned.re;
            odd.im[k] = -turned.im;
        });
        SmallInverse<T, n / 2>(even, x, 2 * stride);
        SmallInverse<T, n / 2>(odd, x + stride, 2 * stride);
    }
}

template <typename T, std::size_t n>
void RunSmallForward(const T* time, std::complex<T>* bins) {
    const SmallBins<T, n> result = SmallForward<T, n>(time, 1);
    bins[0] = result.re[0];
    bins[n / 2] = result.re[n / 2];
    Unrolled<n / 2 - 1>([&](auto k) { bins[k + 1] = {result.re[k + 1], result.im[k + 1]}; });
}

template <typename T, std::size_t n>
void RunSmallInverse(const std::complex<T>* bins, T* time) {
    SmallBins<T, n> given;
    Unrolled<n / 2 + 1>([&](auto k) {
        given.re[k] = bins[k].real();
        given.im[k] = bins[k].imag();
    });
    SmallInverse<T, n>(given, time, 1);
}

}  // namespace

template <typename T>
void DFT<T>::setSize(std::uint32_t n) {
    if (n == size) return;
    if (n == 0) throw slib::BadParameterException("A DFT size may not be zero.");
    if (!std::has_single_bit(n)) throw slib::BadParameterException("DFT size must be a power of two.");
    size = 0;
    timeBuffer = nullptr;
    frequencyBuffer = nullptr;
    inverseScale = 0;
    memory.reset();
    if (n > greatestSize) throw slib::IntegrityFailureException("Failed to initialise FFTW.");
    Allocate(n);
}

template <typename T>
void DFT<T>::Allocate(std::uint32_t n) {
    const bool hasKernel = n >= leastRealFourierSize;
    const std::uint32_t factorCount = hasKernel ? RealFourierFactorCount(n) : 0;
    T* factors = nullptr;
    const auto lay = [&](Rows<T> rows) {
        timeBuffer = rows.Take(n);
        frequencyBuffer = reinterpret_cast<std::complex<T>*>(rows.Take(std::uint64_t{n} + 2));
        if (!hasKernel) return rows.Floats();
        factors = rows.Take(factorCount);
        for (SplitComplexOf<T>* split : {&plan.one, &plan.other})
            *split = {rows.Take(n / 2), rows.Take(n / 2)};
        return rows.Floats();
    };
    memory = AllocateAlignedFloats(lay(Rows<T>(nullptr)));
    lay(Rows<T>(memory.get()));
    if (hasKernel) FillRealFourierFactors(n, factors);
    plan.size = n;
    plan.factors = factors;
    plan.time = timeBuffer;
    plan.bins = reinterpret_cast<T*>(frequencyBuffer);
    size = n;
    inverseScale = T{1} / static_cast<T>(n);
}

template <typename T>
void DFT<T>::ExecuteForward() {
    if (size >= leastRealFourierSize) return TransformReal(plan);
    switch (size) {
        case 16:
            return RunSmallForward<T, 16>(timeBuffer, frequencyBuffer);
        case 8:
            return RunSmallForward<T, 8>(timeBuffer, frequencyBuffer);
        case 4:
            return RunSmallForward<T, 4>(timeBuffer, frequencyBuffer);
        case 2:
            return RunSmallForward<T, 2>(timeBuffer, frequencyBuffer);
        case 1:
            frequencyBuffer[0] = timeBuffer[0];
            return;
        default:
            return;
    }
}

template <typename T>
void DFT<T>::ExecuteInverse() {
    if (size >= leastRealFourierSize) return TransformBack(plan);
    switch (size) {
        case 16:
            return RunSmallInverse<T, 16>(frequencyBuffer, timeBuffer);
        case 8:
            return RunSmallInverse<T, 8>(frequencyBuffer, timeBuffer);
        case 4:
            return RunSmallInverse<T, 4>(frequencyBuffer, timeBuffer);
        case 2:
            return RunSmallInverse<T, 2>(frequencyBuffer, timeBuffer);
        case 1:
            timeBuffer[0] = frequencyBuffer[0].real();
            return;
        default:
            return;
    }
}

template <typename T>
void DFT<T>::forward(const T* signal, std::complex<T>* spectrum) {
    std::copy_n(signal, size, timeBuffer);
    ExecuteForward();
    std::copy_n(frequencyBuffer, size / 2 + 1, spectrum);
}

template <typename T>
void DFT<T>::inverse(const GenericVector<std::complex<T>, 1>& spectrum, GenericVector<T, 1>& signal) {
    if (size == 0 || spectrum.size != size / 2 + 1)
        throw slib::BadParameterException("The spectrum doesn't have the number of bins of the DFT.");
    signal.resize(size);
    std::copy_n(spectrum.data, spectrum.size, frequencyBuffer);
    ExecuteInverse();
    std::transform(timeBuffer, timeBuffer + size, signal.data, [this](T x) { return x * inverseScale; });
}

template <typename T>
void DFT<T>::forwardSplit(const T* source, T* real, T* imaginary) {
    std::copy_n(source, size, timeBuffer);
    ExecuteForward();
    for (std::uint32_t k = 0; k <= size / 2; ++k) {
        real[k] = frequencyBuffer[k].real();
        imaginary[k] = frequencyBuffer[k].imag();
    }
}

template <typename T>
void DFT<T>::inverseSplit(const T* real, const T* imaginary, T* destination) {
    for (std::uint32_t k = 0; k <= size / 2; ++k)
        frequencyBuffer[k] = {real[k], imaginary[k]};
    ExecuteInverse();
    std::transform(timeBuffer, timeBuffer + size, destination, [this](T x) { return x * inverseScale; });
}

template class DFT<float>;
template class DFT<double>;

}  // namespace hcml
