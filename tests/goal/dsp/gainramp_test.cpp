#include "goal/dsp/gainramp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace goal {
namespace {

TEST(GainSlew, OfAnyRate_Moves2000DecibelsPerSecondInStepsOfATenthOfAMillisecond) {
    for (const auto& [rate, stepFrames] :
         {std::pair{8000.0, 1u}, {14999.0, 1u}, {15000.0, 2u}, {48000.0, 5u}, {96000.0, 10u}}) {
        const GainSlew slew = MakeGainSlew(rate);
        EXPECT_EQ(slew.stepFrames, stepFrames);
        EXPECT_NEAR(20 * std::log10(slew.upFactor), 2000 * stepFrames / rate, 1e-9);
        EXPECT_NEAR(slew.upFactor * slew.downFactor, 1, 1e-9);
    }
}

TEST(GainRamp, ToWhatIsNoGain_EndsInSilence) {
    for (const float target :
         {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
        GainRamp ramp(MakeGainSlew(48000));
        ramp.current = 1;
        hcml::FloatTupleVector block(2000);
        std::fill_n(block.data, 2000, 1.0F);
        ramp.Apply(target, block);
        EXPECT_EQ(block.data[1999], 0);
    }
}

}  // namespace
}  // namespace goal
