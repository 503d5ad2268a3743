#include "orb3core/decoder/limiter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <numbers>
#include <random>
#include <span>
#include <utility>
#include <vector>

#include "orb3core/decoder/limiter_v2.h"

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

constexpr double pi2 = 2 * std::numbers::pi;

// A quiet tone, and from a frame on that one on top of it, through the refined limiter in blocks.
std::vector<float> Onset(double frequency, float gain, std::size_t from, std::size_t frames,
                         std::uint32_t block, double quiet = 0.1) {
    orb3::Limiter_v2 limiter(48000);
    std::vector<float> samples;
    for (std::size_t i = 0; i < frames; ++i) {
        const double loud =
            i < from ? 0 : gain * std::sin(pi2 * frequency * static_cast<double>(i - from) / 48000);
        samples.push_back(
            static_cast<float>(quiet * std::sin(pi2 * 440 * static_cast<double>(i) / 48000) + loud));
    }
    for (std::size_t i = 0; i < frames; i += block)
        limiter.limit(&samples[i], static_cast<std::uint32_t>(std::min<std::size_t>(block, frames - i)), 1);
    return samples;
}

TEST(Limiter_v2, NoSample_GetsAboveTheCeilingAtAnyOnset) {
    std::mt19937 random(3);
    for (const float gain : {1.0F, 2.0F, 4.0F, 8.0F, 1e6F})
        for (const std::uint32_t block : {128U, 509U, 512U, 4096U})
            for (int n = 0; n < 10; ++n)
                for (const float sample : Onset(997, gain, 1000 + random() % 2048, 6000, block))
                    ASSERT_LE(std::fabs(sample), 0.900001F) << gain << " in blocks of " << block;
}

// In the steady state all that isn't the tone itself is distortion.
TEST(Limiter_v2, ABassTone_KeepsItsShape) {
    const std::vector<float> limited = Onset(50, 4, 0, 3 * 48000, 512, 0);
    const std::span<const float> last(&limited[2 * 48000], 48000);
    const auto level = [&](double frequency) {
        std::complex<double> sum = 0;
        for (std::size_t i = 0; i < last.size(); ++i)
            sum += std::polar(double{last[i]}, -pi2 * frequency * static_cast<double>(i) / 48000);
        return std::norm(sum) * 2 / static_cast<double>(last.size() * last.size());
    };
    double power = 0;
    for (const float sample : last)
        power += double{sample} * sample / 48000;
    EXPECT_NEAR(std::sqrt(2 * level(50)), 0.9, 1e-3);
    EXPECT_LT(std::fabs(power - level(50)), 1e-6 * power);
}

TEST(Limiter_v2, AfterALoudWhile_ComesBackBy40DecibelsASecondAndLeavesTheRestAlone) {
    orb3::Limiter_v2 limiter(48000);
    std::vector<float> loud(4800, 9.0F);  // 20 dB above the ceiling
    EXPECT_EQ(limiter.limit(loud.data(), 4800, 1), 9.0F);
    std::vector<float> gains;
    for (int n = 0; n < 130; ++n) {
        std::vector<float> quiet(480, 0.5F);
        EXPECT_EQ(limiter.limit(quiet.data(), 240, 2), 0.5F);
        gains.push_back(quiet.back() / 0.5F);
    }
    const auto start = static_cast<std::size_t>(std::ranges::upper_bound(gains, 0.1001F) - gains.begin());
    EXPECT_TRUE(std::ranges::is_sorted(gains));
    EXPECT_LT(start, 21U);  // two periods of 20 Hz
    EXPECT_NEAR(20 * std::log10(gains[start + 60] / gains[start]), 60 * 0.005 * 40, 0.2);
    EXPECT_EQ(gains.back(), 1.0F);
    std::vector<float> rest{0.9F, std::nanf(""), -0.9F};
    EXPECT_EQ(limiter.limit(rest.data(), 3, 1), 0.9F);
    EXPECT_EQ(rest, (std::vector<float>{0.9F, 0, -0.9F}));
}

}  // namespace
