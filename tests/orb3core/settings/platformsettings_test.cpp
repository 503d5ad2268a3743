#include "orb3core/settings/platformsettings.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "orb3core/store/configstore.h"
#include "tests/support/recordinglog.h"
#include "tests/support/temporaryfolder.h"

namespace {

using Output = platform::PlatformSettings::Output;
using Pace = platform::PlatformSettings::Pace;

struct Case {
    const char *output = "", *waveFile = "", *channels = "", *pace = "", *speakers = "",
               *ofOutputs = "";  // as they are stored
    platform::PlatformSettings expected;
    int errors = 0;
};

TEST(PlatformSettings, Texts_AreReadOrTakenForMissingWithAnError) {
    const Case cases[] = {
        {.expected = {Output::Auto, "", 8, Pace::Renderer, {}, {}}},
        {"WaveFile",
         "/a b.wav",
         "64",
         "RealTime",
         "Quad",
         "usb1=Surround 5.1;usb2 = Quad ; ",
         {Output::WaveFile,
          "/a b.wav",
          64,
          Pace::RealTime,
          slib::StandardFormat::Quad,
          {{"usb1", slib::StandardFormat::Surround51}, {"usb2", slib::StandardFormat::Quad}}}},
        {"silent",
         "/a.wav",
         "65",
         "clock",
         "5.1",
         "usb1;usb2=;=Quad;usb3=Quad",
         {Output::Auto, "/a.wav", 8, Pace::Renderer, {}, {{"usb3", slib::StandardFormat::Quad}}},
         7}};
    const testing_support::TemporaryStore folder;
    const orb3::ConfigStore store(orb3::storeRoot, orb3::ConfigStore::Scope::User);
    for (const auto& [output, waveFile, channels, pace, speakers, ofOutputs, expected, errors] : cases) {
        store.Write("/Platform/Output", output);
        store.Write("/Platform/WaveFile", waveFile);
        store.Write("/Platform/WaveFileChannels", channels);
        store.Write("/Platform/WaveFilePace", pace);
        store.Write("/Platform/SpeakerSetting", speakers);
        store.Write(orb3::speakerSettingsKey, ofOutputs);
        testing_support::RecordingLog log;
        EXPECT_EQ(orb3::ReadPlatformSettings(log), expected);
        EXPECT_EQ(std::count(log.lines.begin(), log.lines.end(), ':'), errors) << log.lines;
    }
}

TEST(PlatformSettings, Inputs_AreReadOrTakenForMissingWithAnError) {
    using Input = platform::InputSettings::Input;
    const struct {
        const char *input, *file;
        platform::InputSettings expected;
        int errors;
    } cases[] = {{"", "", {Input::Auto, ""}, 0},
                 {"WaveFile", "/a.wav", {Input::WaveFile, "/a.wav"}, 0},
                 {"WaveFile", "", {Input::Auto, ""}, 1},
                 {"Loud", "", {Input::Auto, ""}, 1}};
    const testing_support::TemporaryStore folder;
    const orb3::ConfigStore store(orb3::storeRoot, orb3::ConfigStore::Scope::User);
    for (const auto& [input, file, expected, errors] : cases) {
        store.Write("/Platform/Input", input);
        store.Write("/Platform/InputFile", file);
        testing_support::RecordingLog log;
        EXPECT_EQ(orb3::ReadInputSettings(log), expected);
        EXPECT_EQ(std::count(log.lines.begin(), log.lines.end(), ':'), errors) << log.lines;
    }
}

}  // namespace
