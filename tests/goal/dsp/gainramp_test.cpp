#include "goal/dsp/gainramp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace goal {
namespace {

// The last channel of a bus of ones, in decibels.
std::vector<double> Decibels(GainRamp& ramp, float target, std::uint32_t frames) {
    hcml::ac::Bus bus(frames, 3);
    for (std::uint32_t c = 0; c < 3; ++c)
        std::fill_n(bus.channels[c], frames, 1.0F);
    ramp.Apply(target, bus);
    std::vector<double> levels;
    for (std::uint32_t i = 0; i < frames; ++i)
        levels.push_back(20 * std::log10(bus.channels[2][i]));
    return levels;
}

TEST(GainRamp, StartsAtOnceAndThenMovesAt2000DecibelsPerSecond) {
    for (const auto& [rate, stepFrames] :
         {std::pair{8000.0, 1u}, {14999.0, 1u}, {15000.0, 2u}, {48000.0, 5u}, {96000.0, 10u}}) {
        GainRamp ramp(MakeGainSlew(rate));
        ASSERT_EQ(ramp.stepFrames, stepFrames);
        EXPECT_EQ(Decibels(ramp, 1, 8).front(), 0);
        const double step = 2000 * stepFrames / rate;
        for (const auto& [from, to] : {std::pair{0.0, -45.0}, {-45.0, -6.0}}) {
            const std::vector<double> levels = Decibels(ramp, float(std::pow(10, to / 20)), 6000);
            for (std::size_t i = 0; i < levels.size(); ++i) {
                const std::size_t steps = i / stepFrames + 1;
                const double way = step * double(steps);
                ASSERT_NEAR(levels[i], to < from ? std::max(to, from - way) : std::min(to, from + way), 0.001)
                    << i;
            }
        }
    }
}

TEST(GainRamp, StepsThatDontFit_WaitForTheNextBlock) {
    GainRamp ramp(MakeGainSlew(48000));
    Decibels(ramp, 1, 16);
    EXPECT_NEAR(Decibels(ramp, 0.1F, 14).back(), -2 * 2000.0 * 5 / 48000, 1e-4);
    EXPECT_NEAR(Decibels(ramp, 0.1F, 14).front(), -3 * 2000.0 * 5 / 48000, 1e-4);
}

TEST(GainRamp, ToAndFromSilence_JumpsAtTheFloor) {
    for (const float silence :
         {0.0F, std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
        GainRamp ramp(MakeGainSlew(48000));
        Decibels(ramp, 1, 16);
        const std::vector<double> fade = Decibels(ramp, silence, 2000);
        EXPECT_GT(fade[1430], -60.01);
        EXPECT_EQ(fade[1445], -std::numeric_limits<double>::infinity());
        EXPECT_NEAR(Decibels(ramp, 1, 5).front(), -60, 1e-4);
    }
}

}  // namespace
}  // namespace goal
