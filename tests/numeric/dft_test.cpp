// The sizes of the transform of real signals. What it computes is held against another one.

#include "numeric/dft.h"

#include <gtest/gtest.h>

#include "tests/support/failure.h"

namespace hcml {
namespace {

TEST(DFT, SetSize_RefusesWhatIsNoPowerOfTwo_AndKeepsThePlansOfTheSameSize) {
    DFT<float> dft;
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
