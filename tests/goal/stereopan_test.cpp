#include "goal/stereopan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

TEST(PanStereoSide, AtAnyAngle_WeighsTheHorizontalChannelsWithItsMultiples) {
    constexpr unsigned channels[9] = {0, 1, 2, 4, 5, 9, 10, 16, 17};
    for (unsigned order = 1; order <= 4; ++order)
        for (double a = -7; a < 7; a += 0.23) {
            const double expected[9] = {1,
                                        std::cos(a),
                                        std::sin(a),
                                        std::sin(2 * a) / 2,
                                        std::cos(2 * a),
                                        std::cos(3 * a),
                                        std::sin(3 * a),
                                        std::sin(4 * a) / 4,
                                        std::cos(4 * a)};
            const goal::StereoPan pan = goal::PanStereoSide(float(a), order);
            ASSERT_TRUE(
                std::equal(pan.channels.begin(), pan.channels.end(), channels, channels + 2 * order + 1));
            for (unsigned i = 0; i < 9; ++i)
                EXPECT_NEAR(pan.weights[i], i <= 2 * order ? expected[i] : 0, 2e-6) << a << " " << i;
        }
}

}  // namespace
