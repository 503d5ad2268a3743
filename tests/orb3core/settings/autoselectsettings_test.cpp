#include "orb3core/settings/autoselectsettings.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <string>
#include <utility>

#include "numeric/performancerating.h"
#include "tests/support/recordinglog.h"

namespace {

using orb3::GoalConfig;
using Conversion = orb3::SampleRateConversion;

// What a machine gets from a power on, in ratings times processors.
struct Tier {
    double power;
    int order;
    bool useDirectionalEarlyReflections, useFullLateReflections, onlyOneReverb;
    Conversion conversion;
    int bufferCount;
};

constexpr Tier tiers[] = {{0, 1, false, false, true, Conversion::Linear, 7},
                          {1.2, 1, false, true, false, Conversion::Linear, 7},
                          {1.5, 2, false, true, false, Conversion::Linear, 3},
                          {2.4, 2, true, true, false, Conversion::SincLow, 3},
                          {3.4, 3, true, true, false, Conversion::SincLow, 3},
                          {4.2, 4, true, true, false, Conversion::SincLow, 3},
                          {4.7, 4, true, true, false, Conversion::SincMedium, 3},
                          {1e6, 4, true, true, false, Conversion::SincMedium, 3}};

GoalConfig SelectedAt(double power) {
    testing_support::RecordingLog log;
    GoalConfig settings;
    settings.gain = 0.5;
    settings.isLoggingVerbose = settings.masqueradeAsGenericHardware = true;
    orb3::SelectSettings(settings, 2, power / 2, &log);
    return settings;
}

TEST(Autoselect, Power_SelectsWhatTheMachineCarriesAndElseTheDefaults) {
    for (std::size_t i = 0; i + 1 < std::size(tiers); ++i) {
        SCOPED_TRACE(tiers[i].power);
        GoalConfig expected;
        expected.order = tiers[i].order;
        expected.useDirectionalEarlyReflections = tiers[i].useDirectionalEarlyReflections;
        expected.useFullLateReflections = tiers[i].useFullLateReflections;
        expected.onlyOneReverb = tiers[i].onlyOneReverb;
        expected.sampleRateConversion = tiers[i].conversion;
        expected.suggestedBufferLength = 256;
        expected.suggestedBufferCount = tiers[i].bufferCount;
        EXPECT_EQ(SelectedAt(tiers[i].power), expected);
        EXPECT_EQ(SelectedAt(std::nextafter(tiers[i + 1].power, 0)), expected);
    }
}

TEST(Autoselect, Line_TellsTheRatingInHundredthsRounded) {
    for (const auto& [rating, text] : {std::pair(1.234, "4@123."), {1.235, "4@124."}}) {
        testing_support::RecordingLog log;
        GoalConfig settings;
        orb3::SelectSettings(settings, 4, rating, &log);
        EXPECT_EQ(log.lines, std::string("I:Autoselecting game settings using performance rating ") + text);
    }
}

TEST(Autoselect, Measurement_TakesASecondAndCountsItsPasses) {
    const auto start = std::chrono::steady_clock::now();
    const double rating = hcml::performance::MeasurePower();
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1000));
    EXPECT_GT(rating, 0);
    // Not even one multiplication and addition for each cycle of a processor of 10 GHz, sixteen at a time.
    EXPECT_LT(rating * 2160 * 50 * 50 * 50, 16 * 10e9);
    const double rounds = rating * 2160;
    EXPECT_NEAR(rounds, std::round(rounds), 1e-6);
}

}  // namespace
