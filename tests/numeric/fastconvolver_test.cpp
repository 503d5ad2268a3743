#include "numeric/fastconvolver.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>

#include "tests/support/noise.h"

namespace {

using testing_support::Noise;
using Samples = hcml::GenericVector<float, 1>;

void TestConvolver(std::uint32_t taps, std::uint32_t minimumBlock, std::uint32_t points) {
    const Samples filter = Noise<Samples>(taps, 1);
    hcml::FIRFastConvolverFilter convolver;
    convolver.setFilter(Noise<Samples>(3, 2), 16);
    convolver.setFilter(filter, minimumBlock);
    const std::uint32_t block = points - taps;
    ASSERT_EQ(convolver.blockLength, block);
    const Samples signal = Noise<Samples>(3 * block, 3);
    for (std::uint32_t i = 0; i < signal.size; ++i) {
        double direct = 0;
        for (std::uint32_t k = 0; k < taps && i >= block + k; ++k)
            direct += double{filter[taps - 1 - k]} * double{signal[i - block - k]};
        ASSERT_NEAR(convolver.FilterSample(signal[i]), direct, 4e-6 * std::sqrt(taps)) << i;
    }
}

TEST(FastConvolver, SampleBySample_IsDirectConvolutionWithTheReversedTapsOneBlockLate) {
    TestConvolver(1, 1, 2);
    TestConvolver(5, 3, 16);
    TestConvolver(513, 512, 2048);
    TestConvolver(100, 10000, 16384);
    TestConvolver(3000, 10, 8192);
}

}  // namespace
