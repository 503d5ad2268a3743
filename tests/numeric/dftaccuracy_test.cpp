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

template <typename T, typename Complex, auto planForward, auto planInverse, auto execute, auto destroy>
struct FFTW {
    using Value = T;
    static void Forward(std::size_t n, T* x, std::complex<T>* bins) {
        Run(planForward(static_cast<int>(n), x, reinterpret_cast<Complex*>(bins), FFTW_ESTIMATE));
    }
    static void Inverse(std::size_t n, std::complex<T>* bins, T* x) {
        Run(planInverse(static_cast<int>(n), reinterpret_cast<Complex*>(bins), x, FFTW_ESTIMATE));
    }
    template <typename Plan>
    static void Run(Plan plan) {
        execute(plan);
        destroy(plan);
    }
};

using FFTWFloat = FFTW<float, fftwf_complex, fftwf_plan_dft_r2c_1d, fftwf_plan_dft_c2r_1d, fftwf_execute,
                       fftwf_destroy_plan>;
using FFTWDouble =
    FFTW<double, fftw_complex, fftw_plan_dft_r2c_1d, fftw_plan_dft_c2r_1d, fftw_execute, fftw_destroy_plan>;
using FFTWLongDouble = FFTW<long double, fftwl_complex, fftwl_plan_dft_r2c_1d, fftwl_plan_dft_c2r_1d,
                            fftwl_execute, fftwl_destroy_plan>;

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
            std::vector<long double> samples(signal.begin(), signal.end());
            std::vector<Exact> exact(bins);
            FFTWLongDouble::Forward(size, samples.data(), exact.data());
            const auto bin = [&](std::size_t k) { return exact[k]; };
            GenericVector<std::complex<T>, 1> spectrum(bins), rounded(bins);
            std::copy(exact.begin(), exact.end(), rounded.begin());
            TypeParam::Forward(size, signal.data, spectrum.data);
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
            TypeParam::Inverse(size, rounded.data, back.data);
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
