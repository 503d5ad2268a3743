// A game that is recorded, and its recording: what is in it, what it sounds like, and what becomes of it when
// it is damaged.

#include <array>
#include <cmath>
#include <random>
#include <sstream>

#include "app/recording/recordingreader.h"
#include "app/replay/player.h"
#include "slib/exception.h"
#include "tests/support/recording.h"
#include "tests/tools/tools.h"
#include "tools/support/json.h"

namespace {

using recording::RecordedCall;
using testing::HasSubstr;
using testing_support::BuildTree;
using testing_support::Outcome;
using testing_support::ReadFile;
using testing_support::Tools;

using Calls = std::vector<std::pair<std::string_view, std::string>>;

// But for those that are made to know what may be done next, and to find functions.
Calls Read(const std::string& file) {
    std::istringstream stream(ReadFile(file));
    recording::RecordingReader reader(stream);
    Calls calls;
    for (RecordedCall call; reader.Next(call);)
        if (const auto name = recording::calls[call.index].name;
            name != "alGetSourcei" && name != "alcGetProcAddress" && name != "alGetProcAddress" &&
            name != "alcGetError")
            calls.emplace_back(name, call.content);
    return calls;
}

class Recordings : public Tools {
protected:
    Recordings() {
        const Outcome run =
            Run("tessarune-run", {"--record", file, (BuildTree() / "tests" / "recordedgame").string()});
        EXPECT_EQ(run.status, 0) << run.error;
        EXPECT_THAT(run.error, HasSubstr("It is complete."));
    }

    const std::string file = folder.path / "game.calls";
};

TEST_F(Recordings, Replay_PlaysTheSameBitsEachTimeAtTheLevelOfTheGame) {
    std::array<std::string, 2> sounds;
    for (std::string& sound : sounds) {
        const Outcome replay = Run("tessarune-replay", {file, "--fast", "--wav", "out.wav", "--compare"});
        ExpectOutcome(replay, 0, "");
        EXPECT_THAT(replay.out, HasSubstr(" answers weren't those"));
        sound = ReadFile(folder.path / "out.wav");
    }
    EXPECT_EQ(sounds[0], sounds[1]);
    const auto recorded = testing_support::ReadWaveFile(folder.path / "out.wav", 2);
    const auto heard = recorded.Sounds(2400);
    ASSERT_EQ(heard.size(), 1u);
    EXPECT_NEAR(static_cast<double>(heard[0].second - heard[0].first), 24000, 1000);
    const std::vector<double> levels = recorded.Levels(heard[0]);
    EXPECT_NEAR(levels[0], levels[1], 0.001);  // straight ahead
    EXPECT_NEAR(20 * std::log10(levels[0] / (0.25 / std::sqrt(2))), -6, 6);
    EXPECT_EQ(Run("tessarune-replay", {file, "--fast", "--set", "Order=9"}).status, 2);
}

TEST_F(Recordings, Info_TellsOfThreadsObjectsAndSamplesButNotOfTheChild) {
    const tool::Json info = tool::Json::parse(Run("tessarune-replay", {file, "--info", "--json"}).out);
    EXPECT_EQ(info["threads"], 2);
    EXPECT_EQ(info["made"]["Buffers"], 3);
    EXPECT_EQ(info["samples"][0]["bytes"], 48000);
    EXPECT_EQ(info["distinctBytes"], 24000);
    EXPECT_EQ(info["callsByName"].count("alIsSource"), 0u);
    EXPECT_EQ(info["isComplete"], true);
}

// Whatever a call has comes through the file and back: the recorder writes down what the player makes of it.
TEST_F(Recordings, Replay_ToTheRecorderGivesTheSameCalls) {
    const std::string again = folder.path / "again.calls";
    const std::string library = BuildTree() / "lib" / "record" / "libopenal.so.1";
    EXPECT_EQ(
        Run("tessarune-replay", {file, "--fast", "--library", library}, "TESSARUNE_RECORD=" + again + " ")
            .status,
        0);
    const Calls calls = Read(file);
    EXPECT_GT(calls.size(), 30u);
    EXPECT_EQ(Read(again), calls);
}

TEST_F(Tools, Run_EndsARecordingAtItsLimitAndSaysSo) {
    const Outcome run = Run("tessarune-run", {"--record", "game.calls", "--record-limit", "1",
                                              (BuildTree() / "tests" / "recordedgame").string(), "long"});
    ExpectOutcome(run, 0, "reached its limit");
    EXPECT_THAT(run.error, HasSubstr("calls are missing"));
    EXPECT_THAT(Run("tessarune-replay", {"game.calls", "--info"}).out, HasSubstr("alBufferDataStatic"));
    ExpectOutcome(Run("tessarune-run", {"--record", "out", "true"}), 127, "is no recording");
}

// ---- Damage ----

struct Playing {
    std::uint64_t calls = 0;
    bool isDamaged = false;
};

// Decodes each call, for a library without functions.
Playing PlayToNobody(const std::string& bytes) {
    std::istringstream stream(bytes);
    const replay::FindFunction nothing = [](const char*) { return nullptr; };
    replay::NoPace pace;
    Playing playing;
    try {
        recording::RecordingReader reader(stream);
        replay::Player player(reader, nothing, pace);
        while (player.PlayNext())
            ++playing.calls;
    } catch (const slib::BadDataException&) {
        playing.isDamaged = true;
    }
    return playing;
}

TEST(Recording, CutAnywhere_IsReadUpToThere) {
    const std::string whole = ReadFile(TESSARUNE_SOURCE_TREE "/fuzz/corpus/recording/game");
    const std::uint64_t all = PlayToNobody(whole).calls;
    EXPECT_GT(all, 40u);
    std::uint64_t last = 0;
    for (std::size_t size = recording::Beginning().size(); size <= whole.size(); ++size) {
        const Playing playing = PlayToNobody(whole.substr(0, size));
        ASSERT_FALSE(playing.isDamaged) << size;
        ASSERT_TRUE(playing.calls == last || playing.calls == last + 1) << size;
        last = playing.calls;
    }
    EXPECT_EQ(last, all);
}

TEST(Recording, DamagedAnywhere_IsReadOrRefused) {
    const std::string whole = ReadFile(TESSARUNE_SOURCE_TREE "/fuzz/corpus/recording/game");
    std::mt19937 random(1);
    int refused = 0;
    for (int round = 0; round < 2000; ++round) {
        std::string damaged = whole;
        for (int byte = 0; byte < 3; ++byte)
            damaged[random() % damaged.size()] = static_cast<char>(random());
        refused += PlayToNobody(damaged).isDamaged ? 1 : 0;
    }
    EXPECT_GT(refused, 100);
    EXPECT_TRUE(PlayToNobody("RIFF").isDamaged);
}

}  // namespace
