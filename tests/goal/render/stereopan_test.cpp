#include "goal/render/stereopan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

TEST(PanStereoSide, AtAnyAngle_WeighsTheHorizontalChannelsWithItsMultiples) {
    constexpr unsigned channels[9] = {0, 1, 2, 4, 5, 9, 10, 16, 17};
    for (unsigned order = 1; order <= 4; ++order)
        for (double a = -7; a < 7; a += 0.23) {
            const auto c = [a](int m) { return std::cos(m * a); };
            const auto s = [a](int m) { return std::sin(m * a); };
            const double expected[9] = {1, c(1), s(1), s(2) / 2, c(2), c(3), s(3), s(4) / 4, c(4)};
            const goal::StereoPan pan = goal::PanStereoSide(float(a), order);
            ASSERT_TRUE(
                std::equal(pan.channels.begin(), pan.channels.end(), channels, channels + 2 * order + 1));
            for (unsigned i = 0; i < 9; ++i)
                EXPECT_NEAR(pan.weights[i], i <= 2 * order ? expected[i] : 0, 2e-6) << a << " " << i;
        }
}

}  // namespace
