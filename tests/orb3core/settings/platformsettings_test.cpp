#include "orb3core/settings/platformsettings.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "orb3core/store/configstore.h"
#include "tests/support/recordinglog.h"
#include "tests/support/temporaryfolder.h"

namespace {

using Output = platform::PlatformSettings::Output;

TEST(PlatformSettings, Texts_AreReadOrTakenForMissingWithAnError) {
    struct Row {
        const char* output;
        const char* waveFile;
        const char* speakers;
        platform::PlatformSettings expected;
        int errors;
    };
    const Row rows[] = {
        {.output = "", .waveFile = "", .speakers = "", .expected = {Output::Auto, "", {}}, .errors = 0},
        {"Silent", "", "", {Output::Silent, "", {}}, 0},
        {"WaveFile",
         "/a b.wav",
         "Surround 5.1 (ITU)",
         {Output::WaveFile, "/a b.wav", slib::StandardFormat::Surround51ITU},
         0},
        {"WaveFile", "", "Unknown", {Output::Auto, "", {}}, 2},
        {"silent", "/a.wav", "5.1", {Output::Auto, "/a.wav", {}}, 2}};
    const testing_support::TemporaryStore folder;
    const orb3::ConfigStore store(orb3::storeRoot, orb3::ConfigStore::Scope::User);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.output);
        store.Write("/Platform/Output", row.output);
        store.Write("/Platform/WaveFile", row.waveFile);
        store.Write("/Platform/SpeakerSetting", row.speakers);
        testing_support::RecordingLog log;
        EXPECT_EQ(orb3::ReadPlatformSettings(log), row.expected);
        EXPECT_EQ(std::count(log.lines.begin(), log.lines.end(), ':'), row.errors) << log.lines;
    }
}

}  // namespace
