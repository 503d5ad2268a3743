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

struct Case {
    unsigned processors;
    double rating;
    int order;
    bool useDirectionalEarlyReflections, useFullLateReflections, onlyOneReverb;
    Conversion conversion;
    int bufferCount;
};

double Below(double value) {
    return std::nextafter(value, 0);
}

class Power : public testing::TestWithParam<Case> {};

TEST_P(Power, Selects_WhatTheMachineCarriesAndElseTheDefaults) {
    const Case& c = GetParam();
    testing_support::RecordingLog log;
    GoalConfig settings;
    settings.gain = 0.5;
    settings.isLoggingVerbose = settings.masqueradeAsGenericHardware = true;
    orb3::SelectSettings(settings, c.processors, c.rating, &log);
    GoalConfig expected;
    expected.order = c.order;
    expected.useDirectionalEarlyReflections = c.useDirectionalEarlyReflections;
    expected.useFullLateReflections = c.useFullLateReflections;
    expected.onlyOneReverb = c.onlyOneReverb;
    expected.sampleRateConversion = c.conversion;
    expected.suggestedBufferLength = 256;
    expected.suggestedBufferCount = c.bufferCount;
    EXPECT_EQ(settings, expected) << "order " << settings.order;
}

INSTANTIATE_TEST_SUITE_P(AtTheBorders, Power,
                         testing::Values(Case{2, 0.5, 1, false, false, true, Conversion::Linear, 7},
                                         Case{1, 0, 1, false, false, true, Conversion::Linear, 7},
                                         Case{1, Below(1.2), 1, false, false, true, Conversion::Linear, 7},
                                         Case{1, 1.2, 1, false, true, false, Conversion::Linear, 7},
                                         Case{2, Below(0.75), 1, false, true, false, Conversion::Linear, 7},
                                         Case{2, 0.75, 2, false, true, false, Conversion::Linear, 3},
                                         Case{1, Below(2.4), 2, false, true, false, Conversion::Linear, 3},
                                         Case{1, 2.4, 2, true, true, false, Conversion::SincLow, 3},
                                         Case{1, Below(3.4), 2, true, true, false, Conversion::SincLow, 3},
                                         Case{1, 3.4, 3, true, true, false, Conversion::SincLow, 3},
                                         Case{1, Below(4.2), 3, true, true, false, Conversion::SincLow, 3},
                                         Case{1, 4.2, 4, true, true, false, Conversion::SincLow, 3},
                                         Case{1, Below(4.7), 4, true, true, false, Conversion::SincLow, 3},
                                         Case{1, 4.7, 4, true, true, false, Conversion::SincMedium, 3},
                                         Case{4, 1.2, 4, true, true, false, Conversion::SincMedium, 3},
                                         Case{64, 1e6, 4, true, true, false, Conversion::SincMedium, 3}));

TEST(Autoselect, Line_TellsTheRatingInHundredthsRounded) {
    for (const auto& [rating, text] : {std::pair(1.234, "4@123."), {1.235, "4@124."}, {0.0, "4@0."}}) {
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
