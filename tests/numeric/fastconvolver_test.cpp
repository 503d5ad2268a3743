#include "numeric/fastconvolver.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <random>

namespace {

using Samples = hcml::GenericVector<float, 1>;

Samples Noise(std::uint32_t count, unsigned seed) {
    std::minstd_rand random(seed);
    Samples noise(count);
    std::generate(noise.begin(), noise.end(), [&] { return static_cast<float>(random()) / 1e9f - 1; });
    return noise;
}

using Sizes = std::array<std::uint32_t, 3>;  // taps, minimum block, points of the transform

class FastConvolver : public testing::TestWithParam<Sizes> {};

TEST_P(FastConvolver, SampleBySample_IsDirectConvolutionWithTheReversedTapsOneBlockLate) {
    const auto [taps, minimumBlock, transform] = GetParam();
    const Samples filter = Noise(taps, 1);
    hcml::FIRFastConvolverFilter convolver;
    convolver.setFilter(Noise(3, 2), 16);
    convolver.setFilter(filter, minimumBlock);
    const std::uint32_t block = transform - taps;
    ASSERT_EQ(convolver.blockLength, block);
    const Samples signal = Noise(3 * block, 3);
    for (std::uint32_t i = 0; i < signal.size; ++i) {
        double direct = 0;
        for (std::uint32_t k = 0; k < taps && i >= block + k; ++k)
            direct += double{filter[taps - 1 - k]} * double{signal[i - block - k]};
        ASSERT_NEAR(convolver.filterSample(signal[i]), direct, 4e-6 * std::sqrt(taps)) << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, FastConvolver,
                         testing::Values(Sizes{1, 1, 2}, Sizes{5, 3, 16}, Sizes{513, 512, 2048},
                                         Sizes{100, 10000, 16384}, Sizes{3000, 10, 8192}));

}  // namespace
