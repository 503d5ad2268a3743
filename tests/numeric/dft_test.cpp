// The transform of real signals against the sum that defines it.

#include "numeric/dft.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

#include "tests/support/failure.h"
#include "tests/support/noise.h"

namespace hcml {
namespace {

template <typename T>
class DFTs : public testing::Test {};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(DFTs, Precisions);

std::complex<double> Bin(const std::vector<double>& signal, std::size_t k) {
    std::complex<double> sum = 0;
    for (std::size_t n = 0; n < signal.size(); ++n)
        sum += std::polar(signal[n],
                          -2 * std::numbers::pi * double(k * n % signal.size()) / double(signal.size()));
    return sum;
}

TYPED_TEST(DFTs, ForwardIsTheUnscaledSum_AndInverseGivesTheSignalBack) {
    DFT<TypeParam> dft;
    for (std::uint32_t size = 1; size <= 512; size *= 2) {
        dft.setSize(size);
        const auto values = testing_support::Noise<GenericVector<TypeParam, 1>>(size);
        const std::vector<double> signal(values.begin(), values.end());
        GenericVector<TypeParam, 1> back;
        GenericVector<std::complex<TypeParam>, 1> bins(size / 2 + 1);
        std::vector<TypeParam> real(bins.size), imaginary(bins.size), splitBack(size);
        dft.forward(values.data, bins.data);
        dft.forwardSplit(values.data, real.data(), imaginary.data());
        const double tolerance =
            4 * double(std::numeric_limits<TypeParam>::epsilon()) * std::sqrt(size) + 1e-13;
        for (std::uint32_t k = 0; k < bins.size; ++k) {
            EXPECT_NEAR(std::abs(std::complex<double>(bins[k]) - Bin(signal, k)), 0, tolerance)
                << size << " " << k;
            EXPECT_EQ(bins[k], std::complex<TypeParam>(real[k], imaginary[k])) << size << " " << k;
        }
        dft.inverse(bins, back);
        dft.inverseSplit(real.data(), imaginary.data(), splitBack.data());
        for (std::uint32_t n = 0; n < size; ++n) {
            EXPECT_NEAR(back[n], signal[n], tolerance) << size << " " << n;
            EXPECT_EQ(back[n], splitBack[n]) << size << " " << n;
        }
    }
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

}  // namespace
}  // namespace hcml
