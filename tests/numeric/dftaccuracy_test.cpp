// How near the transform of real signals is to that of FFTW in long double, beside FFTW planned without
// measuring.

#include <fftw3.h>
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <vector>

#include "numeric/dft.h"
#include "tests/support/noise.h"
#include "tests/support/vectortargets.h"

namespace hcml {
namespace {

using Exact = std::complex<long double>;

std::vector<Exact> Transform(std::vector<long double> x) {
    std::vector<Exact> bins(x.size() / 2 + 1);
    auto* const target = reinterpret_cast<fftwl_complex*>(bins.data());
    const auto plan = fftwl_plan_dft_r2c_1d(static_cast<int>(x.size()), x.data(), target, FFTW_ESTIMATE);
    fftwl_execute(plan);
    fftwl_destroy_plan(plan);
    return bins;
}

struct FFTWFloat {
    using Value = float;
    static void Forward(int n, float* x, std::complex<float>* bins) {
        const auto plan = fftwf_plan_dft_r2c_1d(n, x, reinterpret_cast<fftwf_complex*>(bins), FFTW_ESTIMATE);
        fftwf_execute(plan);
        fftwf_destroy_plan(plan);
    }
    static void Inverse(int n, std::complex<float>* bins, float* x) {
        const auto plan = fftwf_plan_dft_c2r_1d(n, reinterpret_cast<fftwf_complex*>(bins), x, FFTW_ESTIMATE);
        fftwf_execute(plan);
        fftwf_destroy_plan(plan);
    }
};

struct FFTWDouble {
    using Value = double;
    static void Forward(int n, double* x, std::complex<double>* bins) {
        const auto plan = fftw_plan_dft_r2c_1d(n, x, reinterpret_cast<fftw_complex*>(bins), FFTW_ESTIMATE);
        fftw_execute(plan);
        fftw_destroy_plan(plan);
    }
    static void Inverse(int n, std::complex<double>* bins, double* x) {
        const auto plan = fftw_plan_dft_c2r_1d(n, reinterpret_cast<fftw_complex*>(bins), x, FFTW_ESTIMATE);
        fftw_execute(plan);
        fftw_destroy_plan(plan);
    }
};

template <typename Values, typename Wanted>
long double RootMeanSquareError(const Values& values, std::size_t count, Wanted wanted) {
    long double sum = 0;
    for (std::size_t i = 0; i < count; ++i)
        sum += std::norm(Exact(values[i]) - wanted(i));
    return std::sqrt(sum / static_cast<long double>(count));
}

template <typename FFTW>
class DFTAccuracy : public testing::Test {};
using Precisions = testing::Types<FFTWFloat, FFTWDouble>;
TYPED_TEST_SUITE(DFTAccuracy, Precisions);

// Averaged over signals, so that a lucky rounding decides nothing. FFTW fuses products with sums where the
// processor can, which ours may not (every vector target gives the same bits), and so has a little less error
// at some sizes.
TYPED_TEST(DFTAccuracy, ErrorsAreThoseOfFFTWInEitherForm) {
    using T = typename TypeParam::Value;
    long double ownTotal = 0, otherTotal = 0;
    for (std::uint32_t size = 1; size <= 65536; size *= 2) {
        const std::uint32_t bins = size / 2 + 1;
        DFT<T> dft;
        dft.setSize(size);
        long double own = 0, other = 0;
        for (std::uint32_t seed = 0; seed < (size < 4096 ? 16U : 2U); ++seed) {
            auto signal = testing_support::Noise<GenericVector<T, 1>>(size, seed), back = signal;
            const std::vector<Exact> exact = Transform({signal.begin(), signal.end()});
            const auto bin = [&](std::size_t k) { return exact[k]; };
            GenericVector<std::complex<T>, 1> spectrum(bins), rounded(bins);
            std::copy(exact.begin(), exact.end(), rounded.begin());
            TypeParam::Forward(static_cast<int>(size), signal.data, spectrum.data);
            other += RootMeanSquareError(spectrum, bins, bin);
            dft.forward(signal.data, spectrum.data);
            own += RootMeanSquareError(spectrum, bins, bin);

            std::vector<T> real(bins), imaginary(bins), split(size);
            dft.forwardSplit(signal.data, real.data(), imaginary.data());
            dft.inverseSplit(real.data(), imaginary.data(), split.data());
            dft.inverse(spectrum, back);
            for (std::uint32_t k = 0; k < bins; ++k)
                EXPECT_EQ(spectrum[k], std::complex<T>(real[k], imaginary[k])) << size << " " << k;
            EXPECT_TRUE(std::equal(split.begin(), split.end(), back.begin())) << size;

            dft.inverse(rounded, back);
            own += size * RootMeanSquareError(back, size, [&](std::size_t n) { return Exact(signal[n]); });
            TypeParam::Inverse(static_cast<int>(size), rounded.data, back.data);
            other +=
                RootMeanSquareError(back, size, [&](std::size_t n) { return Exact(signal[n] * T(size)); });
        }
        EXPECT_LE(own, other * 1.25L) << size;
        ownTotal += own / std::sqrt(static_cast<long double>(size));
        otherTotal += other / std::sqrt(static_cast<long double>(size));
    }
    EXPECT_LE(ownTotal, otherTotal * 1.01L);
}

TYPED_TEST(DFTAccuracy, BitsAreTheSameOnEveryVectorTarget) {
    using T = typename TypeParam::Value;
    testing_support::ExpectSameOnEveryTarget([] {
        std::vector<T> all;
        for (std::uint32_t size = 16; size <= 4096; size *= 2) {
            DFT<T> dft;
            dft.setSize(size);
            const auto signal = testing_support::Noise<std::vector<T>>(size);
            std::copy(signal.begin(), signal.end(), dft.timeBuffer);
            dft.ExecuteForward();
            dft.ExecuteInverse();
            all.insert(all.end(), dft.timeBuffer, dft.timeBuffer + size);
            const T* const bins = reinterpret_cast<const T*>(dft.frequencyBuffer);
            all.insert(all.end(), bins, bins + size + 2);
        }
        return all;
    });
}

}  // namespace
}  // namespace hcml
