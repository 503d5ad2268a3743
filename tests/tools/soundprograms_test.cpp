// The programs that sound: the demonstration and the speaker test, recorded.

#include <algorithm>
#include <sstream>

#include "tests/support/recording.h"
#include "tests/tools/tools.h"

namespace {

using std::filesystem::path;
using testing::AllOf;
using testing::HasSubstr;
using testing_support::Outcome;
using testing_support::ReadFile;
using testing_support::Recording;
using testing_support::Sound;
using testing_support::Tools;

// The column that is marked in the row of a table.
int MarkedColumn(const std::string& table, const std::string& row) {
    std::istringstream words(table.substr(table.find("\n" + row + " ")));
    std::string word;
    words >> word;
    for (int column = 0; words >> word; ++column)
        if (word.ends_with('*')) return column;
    return -1;
}

TEST_F(Tools, Demo_RecordsEachVoiceFromItsSpeakerAndLeavesTheStoreAlone) {
    Config({"set", "Order", "2"});
    const path wave = folder.path / "demo.wav", field = folder.path / "demo.caf";
    const std::string before = ReadFile(files.UserFile());
    const Outcome demo = Run("tessarune-demo", {"--quick", "--part", "voices", "--layout", "5.1", "--wav",
                                                wave.string(), "--ambix", field.string()});
    EXPECT_EQ(demo.status, 0) << demo.error;
    EXPECT_EQ(ReadFile(files.UserFile()), before);
    EXPECT_THAT(demo.out, AllOf(HasSubstr("side left, 90 degrees left"), HasSubstr("Starting Tessarune")));
    const std::vector<std::pair<std::string, int>> loudest{{"Front_Left", 0}, {"Front_Right", 1},
                                                           {"Rear_Left", 4},  {"Rear_Right", 5},
                                                           {"Side_Left", 4},  {"Side_Right", 5}};
    for (const auto& [voice, channel] : loudest)
        EXPECT_EQ(MarkedColumn(demo.out, voice), channel) << voice << " in " << demo.out;
    EXPECT_LE(MarkedColumn(demo.out, "Front_Center"), 2);
    EXPECT_THAT(Run("tessarune-demo", {"--list", "--voices", folder.path}).out, HasSubstr("(a bell)"));
    EXPECT_GE(std::filesystem::file_size(wave), 7u * 6 * 4 * 48000);   // seconds of six channels
    EXPECT_GE(std::filesystem::file_size(field), 7u * 9 * 4 * 48000);  // of order 2
}

// The loudest channel of each sound.
std::vector<std::size_t> LoudestOfEach(const Recording& recording) {
    std::vector<std::size_t> loudest;
    for (const Sound& sound : recording.Sounds(4800)) {
        const std::vector<double> levels = recording.Levels(sound);
        loudest.push_back(static_cast<std::size_t>(std::ranges::max_element(levels) - levels.begin()));
    }
    return loudest;
}

TEST_F(Tools, SpeakerTest_LetsEachSpeakerSoundByItsOwnOutput) {
    const path wave = folder.path / "speakers.wav";
    Set({{"WaveFile", wave}, {"Output", "WaveFile"}, {"SpeakerSetting", "Quad"}});
    ExpectOutcome(Config({"speaker-test", "--speaker", "Moon"}), 2,
                  "'Quad' has no speaker 'Moon'. It has Front Left");
    EXPECT_FALSE(std::filesystem::exists(wave));
    const Outcome test = Config({"speaker-test", "--noise", "--seconds", "0.2"});
    EXPECT_EQ(test.status, 0) << test.error;
    EXPECT_THAT(test.out, HasSubstr("Back Left, azimuth 135"));
    EXPECT_EQ(LoudestOfEach(testing_support::ReadWaveFile(wave, 4)), (std::vector<std::size_t>{0, 1, 2, 3}));
}

TEST_F(Tools, SpeakerTest_Direct_LetsEachOutputSoundAlone) {
    const path wave = folder.path / "outputs.wav";
    Set({{"WaveFile", wave}, {"Output", "WaveFile"}, {"WaveFileChannels", "9"}});
    EXPECT_EQ(Config({"select", "Quad", "--device", "WAVFile9outputs"}).status, 0);
    ExpectOutcome(Config({"speaker-test", "--direct", "Moon"}), 2, "The output must be one of Output 1, ");
    EXPECT_FALSE(std::filesystem::exists(wave));
    const Outcome test = Config({"speaker-test", "--seconds", "0.1", "--noise", "--direct"});
    EXPECT_EQ(test.status, 0) << test.error;
    EXPECT_THAT(test.out, AllOf(HasSubstr("  3  Output 3: 'Back Left' of Quad\n"),
                                HasSubstr("  9  Output 9: no speaker of Quad\n")));
    const Recording recording = testing_support::ReadWaveFile(wave, 9);
    const std::vector<Sound> sounds = recording.Sounds(4800);
    ASSERT_EQ(sounds.size(), 9u);
    for (std::size_t i = 0; i < sounds.size(); ++i) {
        const std::vector<double> levels = recording.Levels(sounds[i]);
        for (std::size_t c = 0; c < levels.size(); ++c)
            EXPECT_EQ(levels[c] > 0, c == i) << i << c;
    }
}

TEST_F(Tools, WhatCantSound_TellsWhatToDo) {
    ExpectOutcome(Config({"speaker-test"}), 1, "'tessarune-config set Output Auto'");
    LoseFormatLibrary();
    ExpectOutcome(Run("tessarune-demo", {"--wav", folder.path / "a.wav"}), 1,
                  "Failed to open file '/no/such.afl'.");
    ExpectOutcome(Run("tessarune-demo", {"--wav", "/no/such/a.wav"}), 1,
                  "The file '/no/such/a.wav' can't be written");
}

}  // namespace
