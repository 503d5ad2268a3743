#include "orb3core/settings/autoselectsettings.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <string>

#include "numeric/performancerating.h"
#include "tests/support/recordinglog.h"

namespace {

using orb3::GoalConfig;

GoalConfig SelectedAt(double power, orb3::Sound sound = orb3::Sound::Refined) {
    testing_support::RecordingLog log;
    GoalConfig settings;
    settings.gain = 0.5;
    settings.sound = sound;
    orb3::SelectSettings(settings, 2, power / 2, &log);
    EXPECT_EQ(log.lines, "I:Autoselecting game settings using performance rating 2@" +
                             std::to_string(std::lround(power * 50)) + ".");
    return settings;
}

// The power is ratings times processors.
TEST(Autoselect, Power_SelectsWhatTheMachineCarriesAndElseTheDefaults) {
    GoalConfig weak, strong;
    weak.order = 1;
    weak.useFullLateReflections = false;
    weak.onlyOneReverb = true;
    weak.suggestedBufferCount = 7;
    strong.order = 4;
    strong.useDirectionalEarlyReflections = true;
    strong.sampleRateConversion = orb3::SampleRateConversion::SincMedium;
    strong.suggestedBufferCount = 3;
    weak.suggestedBufferLength = strong.suggestedBufferLength = 256;
    EXPECT_EQ(SelectedAt(0), weak);
    EXPECT_EQ(SelectedAt(1.19), weak);
    EXPECT_EQ(SelectedAt(2.3).order, 2);
    EXPECT_EQ(SelectedAt(4.7), strong);
    EXPECT_EQ(SelectedAt(19.9), strong);
    strong.sound = orb3::Sound::Classic;
    EXPECT_EQ(SelectedAt(20, orb3::Sound::Classic), strong);
    strong.sound = orb3::Sound::Refined;
    strong.sampleRateConversion = orb3::SampleRateConversion::SincBest;
    EXPECT_EQ(SelectedAt(20), strong);
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
