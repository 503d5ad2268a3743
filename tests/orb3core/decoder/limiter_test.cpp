#include "orb3core/decoder/limiter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <utility>
#include <vector>

namespace {

double Decibels(double ratio) {
    return 20 * std::log10(ratio);
}

// A block of a constant level, limited: at level 1 what stands in it is the gain.
std::vector<float> Limited(orb3::Limiter& limiter, std::uint32_t frames, std::uint32_t channels,
                           float level) {
    std::vector<float> block(frames * channels, level);
    EXPECT_EQ(limiter.limit(block.data(), frames, channels), level);
    return block;
}

TEST(Limiter, Gain_FallsBy1800AndRisesFromTheFloorBy40DecibelsASecond) {
    for (const auto& [rate, stepFrames] :
         std::vector<std::pair<double, int>>{{4000, 1}, {48000, 5}, {192000, 19}}) {
        orb3::Limiter limiter(rate);
        EXPECT_EQ(limiter.stepFrames, stepFrames);
        const std::uint32_t last = 50U * static_cast<std::uint32_t>(stepFrames);
        const std::vector<float> falling = Limited(limiter, last + 1, 2, 1e30F);
        EXPECT_NEAR(Decibels(falling[2 * last + 1] / falling[1]) * rate / last, -1800, 1);
        limiter.gain = 0;
        const std::vector<float> rising = Limited(limiter, last + 1, 2, 0.5F);
        EXPECT_EQ(rising[1], 0.001F * 0.5F);
        EXPECT_NEAR(Decibels(rising[2 * last + 1] / rising[1]) * rate / last, 40, 0.1);
    }
}

TEST(Limiter, SteadyLevel_StaysBelowOneAndUntouchedUpToTheCeiling) {
    for (const float level : {1e-6F, 0.5F, 0.9F, 0.95F, 1.0F, 1.5F, 100.0F, 1e6F}) {
        orb3::Limiter limiter(48000);
        std::vector<float> block;
        for (int n = 0; n < 20; ++n)
            block = Limited(limiter, 480, 2, level);
        for (const float sample : block)
            ASSERT_NEAR(sample, std::min(level, 0.9F), level <= 0.9F ? 0 : 1e-6F) << level;
    }
}

// Levels jump at the borders, the gain never: from frame to frame it moves by the two steps at most that fall
// together there.
TEST(Limiter, AnyLevels_BringNoJumpOfTheGainBetweenFrames) {
    std::mt19937 random(5);
    orb3::Limiter limiter(48000);
    double before = 1;
    for (int n = 0; n < 500; ++n) {
        const float level = std::pow(10.0F, static_cast<float>(random() % 250) / 100 - 1);
        for (const float sample :
             Limited(limiter, 1 + static_cast<std::uint32_t>(random() % 513), 1, level)) {
            const double gain = sample / level;
            ASSERT_GT(gain / before, 0.9999 * limiter.fallFactor * limiter.fallFactor);
            ASSERT_LT(gain / before, 1.0001 * limiter.riseFactor * limiter.riseFactor);
            before = gain;
        }
    }
}

TEST(Limiter, SamplesThatAreNotFinite_AreSilencedAndLeaveTheGainAlone) {
    orb3::Limiter limiter(48000);
    constexpr float infinity = std::numeric_limits<float>::infinity();
    std::vector<float> block{0.5F, std::nanf(""), -0.25F, infinity, -infinity, -std::nanf(""), 0.125F};
    EXPECT_EQ(limiter.limit(block.data(), 7, 1), 0.5F);
    EXPECT_EQ(block, (std::vector<float>{0.5F, 0, -0.25F, 0, 0, 0, 0.125F}));
    EXPECT_EQ(limiter.gain, 1);
}

}  // namespace
