// The transform of real signals against one in long double.
#include "numeric/dft.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

#include "tests/support/failure.h"
#include "tests/support/noise.h"
#include "tests/support/vectortargets.h"

namespace hcml {
namespace {

using Exact = std::complex<long double>;

// The transform by halves.
std::vector<Exact> Transform(const std::vector<Exact>& x) {
    if (x.size() == 1) return x;
    std::vector<Exact> even, odd, y(x.size());
    for (std::size_t i = 0; i < x.size(); i += 2) {
        even.push_back(x[i]);
        odd.push_back(x[i + 1]);
    }
    even = Transform(even);
    odd = Transform(odd);
    for (std::size_t k = 0; k < even.size(); ++k) {
        const long double angle = -2 * std::numbers::pi_v<long double> * static_cast<long double>(k) /
                                  static_cast<long double>(x.size());
        const Exact turned = odd[k] * Exact(std::cos(angle), std::sin(angle));
        y[k] = even[k] + turned;
        y[k + even.size()] = even[k] - turned;
    }
    return y;
}

template <typename Values>
double RootMeanSquareError(const Values& values, const std::vector<Exact>& exact) {
    long double sum = 0;
    for (std::uint32_t i = 0; i < values.size; ++i)
        sum += std::norm(Exact(values[i]) - exact[i]);
    return static_cast<double>(std::sqrt(sum / values.size));
}

template <typename T>
class DFTs : public testing::Test {};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(DFTs, Precisions);

// Both directions of one signal, in both forms: the error in units of the rounding of a number.
template <typename T>
double ErrorOf(DFT<T>& dft, unsigned seed) {
    const auto noise = testing_support::Noise<GenericVector<T, 1>>(dft.size, seed);
    const std::vector<Exact> signal(noise.begin(), noise.end()), exact = Transform(signal);
    GenericVector<T, 1> back;
    GenericVector<std::complex<T>, 1> bins(dft.size / 2 + 1), split(bins);
    std::vector<T> real(bins.size), imaginary(bins.size), splitBack(dft.size);
    dft.forward(noise.data, bins.data);
    dft.forwardSplit(noise.data, real.data(), imaginary.data());
    const double error = RootMeanSquareError(bins, exact);
    for (std::uint32_t k = 0; k < bins.size; ++k) {
        split[k] = {real[k], imaginary[k]};
        real[k] = static_cast<T>(exact[k].real());
        imaginary[k] = static_cast<T>(exact[k].imag());
    }
    EXPECT_EQ(bins, split) << dft.size;
    for (std::uint32_t k = 0; k < bins.size; ++k)
        bins[k] = {real[k], imaginary[k]};
    dft.inverse(bins, back);
    dft.inverseSplit(real.data(), imaginary.data(), splitBack.data());
    EXPECT_EQ(std::vector<T>(back.begin(), back.end()), splitBack) << dft.size;
    return (error + dft.size * RootMeanSquareError(back, signal)) / std::numeric_limits<T>::epsilon();
}

// Averaged over signals, so that a lucky rounding decides nothing. The bounds are what FFTW has.
TYPED_TEST(DFTs, ErrorsAreThoseOfRoundingAlone) {
    DFT<TypeParam> dft;
    double total = 0;
    for (int bits = 0; bits <= 16; ++bits) {
        dft.setSize(1U << bits);
        const unsigned signals = bits < 12 ? 16 : 2;
        double error = 0;
        for (unsigned seed = 0; seed < signals; ++seed)
            error += ErrorOf(dft, seed) / (signals * dft.size * std::sqrt(std::max(bits, 1)));
        EXPECT_LE(error, bits < 2 ? 0.3 : 0.21) << dft.size;
        total += bits < 2 ? 0 : error;
    }
    EXPECT_LE(total / 15, 0.186);
}

TYPED_TEST(DFTs, SetSize_RefusesWhatIsNoPowerOfTwo_AndKeepsThePlansOfTheSameSize) {
    DFT<TypeParam> dft;
    dft.setSize(8);
    const auto* const buffer = dft.timeBuffer;
    const auto failure = [&](std::uint32_t size) {
        return testing_support::Failure<slib::StringException>([&] { dft.setSize(size); });
    };
    EXPECT_EQ(failure(0), "A DFT size may not be zero.");
    EXPECT_EQ(failure(3), "DFT size must be a power of two.");
    EXPECT_EQ(failure(8), "");
    EXPECT_EQ(dft.timeBuffer, buffer);
    EXPECT_EQ(failure(1u << 31), "Failed to initialise FFTW.");
    EXPECT_EQ(dft.size, 0u);
}

TYPED_TEST(DFTs, BitsAreTheSameOnEveryVectorTarget) {
    testing_support::ExpectSameOnEveryTarget([] {
        std::vector<TypeParam> all;
        for (std::uint32_t size = 16; size <= 4096; size *= 2) {
            DFT<TypeParam> dft;
            dft.setSize(size);
            const auto signal = testing_support::Noise<std::vector<TypeParam>>(size);
            std::vector<TypeParam> real(size / 2 + 1), imaginary(size / 2 + 1), back(size);
            dft.forwardSplit(signal.data(), real.data(), imaginary.data());
            dft.inverseSplit(real.data(), imaginary.data(), back.data());
            for (const auto* values : {&real, &imaginary, &back})
                all.insert(all.end(), values->begin(), values->end());
        }
        return all;
    });
}

}  // namespace
}  // namespace hcml
