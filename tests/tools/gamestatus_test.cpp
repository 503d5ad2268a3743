// Status pages, from the process that publishes one to a program that reads it.

#include "tools/support/gamestatus.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cmath>
#include <functional>
#include <numbers>
#include <thread>
#include <tuple>
#include <utility>

#include "AL/tessarune.h"
#include "goal/context.h"
#include "goal/outputmachinery.h"
#include "goal/statusfiles.h"
#include "goal/statuspage.h"
#include "platform/processid.h"
#include "tests/support/defaultdocument.h"
#include "tests/support/process.h"
#include "tests/support/recording.h"
#include "tests/support/recordinglog.h"
#include "tests/support/temporaryfolder.h"
#include "tools/support/statusjson.h"

namespace {

using goal::StatusLayout;
using tool::GameStatus;

class StatusPages : public testing::Test {
protected:
    std::filesystem::path FileOf(pid_t pid) const {
        return store.folder.path / "runtime" / "HollowbrookLabs" / goal::StatusFileName(pid);
    }
    // Other processes of the user may have pages elsewhere.
    static std::vector<GameStatus> OfThisProcess() {
        std::vector<GameStatus> games = tool::StatusOfGames();
        std::erase_if(games, [](const GameStatus& game) { return game.pid != getpid(); });
        return games;
    }
    const testing_support::TemporaryStore store;
    goal::StatusPage page;
};

TEST_F(StatusPages, Read_GivesBackWhatWasNotedBeforeAndAfterPublishing) {
    page.SetProfile("Löwe\n", std::string(447, 'x') + "ä");
    page.Publish();
    page.NoteContextMade();
    page.NoteContextMade();
    page.NoteContextEnded();
    page.NoteContextFailed("No output.");
    goal::StatusShare share;
    page.NoteOutput({"Speakers", "Quad", 48000, 256, 3, {"FL", "FR"}}, share);
    for (const std::size_t index : {2U, 2U, 16U})
        page.NoteRefusal(index);
    const std::vector<GameStatus> games = OfThisProcess();
    GameStatus expected;
    expected.pid = getpid();
    expected.startTime = platform::StartTimeOf(getpid()).value();
    expected.pidSpace = platform::PidSpaceOf(getpid());
    expected.program = "test_tools";
    expected.libraryVersion = games.at(0).libraryVersion;
    expected.profile = "Löwe?";
    expected.profileChanges = std::string(447, 'x');  // no half of a character
    expected.contextsMade = 2;
    expected.contextsAlive = expected.contextsFailed = 1;
    expected.lastFailure = "No output.";
    expected.device = "Speakers";
    expected.layout = "Quad";
    expected.sampleRate = 48000;
    expected.blockFrames = 256;
    expected.order = 3;
    expected.outputs = {{"FL"}, {"FR"}};
    expected.refusals[2] = 2;
    EXPECT_EQ(games, std::vector{expected});
    page.Withdraw();
    page.NoteContextEnded();
    page.Publish();
    EXPECT_FALSE(std::filesystem::exists(FileOf(getpid())));
}

TEST_F(StatusPages, Fork_LeavesThePageToTheParentAndWhatADeadChildLeavesIsRemoved) {
    page.Publish();
    page.NoteRefusal(1);
    const int code = testing_support::RunInChild([&] {
        page.ContinueInChild();
        page.NoteContextMade();
        page.Publish();
        std::filesystem::copy(FileOf(getpid()), store.folder.path / "child");
        return 0;
    });
    EXPECT_EQ(code, 0);
    const GameStatus child = tool::ReadStatusPage(store.folder.path / "child").value();
    EXPECT_NE(child.pid, getpid());
    EXPECT_EQ(child.contextsMade, 1U);
    EXPECT_EQ(child.refusals[1], 0U);
    EXPECT_TRUE(std::filesystem::exists(FileOf(child.pid)));
    const std::vector<GameStatus> games = OfThisProcess();
    ASSERT_EQ(games.size(), 1U);
    EXPECT_EQ(games[0].contextsMade, 0U);
    EXPECT_FALSE(std::filesystem::exists(FileOf(child.pid)));
    page.Withdraw();
}

// A block whose every value is the number of the change.
goal::StatusBlock BlockOf(std::uint32_t number) {
    goal::StatusBlock block;
    const auto value = static_cast<float>(number);
    block.ringFrames = block.serverFrames = block.latencyFrames = number;
    block.outputs.fill({value, value * value});
    block.sourceCount = StatusLayout::mostSources;
    block.sources.fill({.number = number, .distance = value, .meanSquare = value * value});
    return block;
}

TEST_F(StatusPages, Read_WhileBlocksAreWritten_SeesAWholeOne) {
    page.Publish();
    goal::StatusShare share;
    page.NoteOutput({"Speakers", "Quad", 48000, 256, 3, std::vector<std::string>(32, "O")}, share);
    std::atomic<bool> isOver{false};
    std::thread writer([&] {
        for (std::uint32_t number = 1; !isOver; number = number % 1000 + 1) {
            page.NoteBlock(BlockOf(number), share);
            std::this_thread::sleep_for(std::chrono::microseconds(20));
        }
    });
    std::uint64_t last = 0;
    for (int i = 0; i < 300; ++i) {
        const GameStatus game = OfThisProcess().at(0);
        EXPECT_GE(game.blocks, std::exchange(last, game.blocks));
        const double number = game.ringFrames;
        for (const tool::GameOutput& output : game.outputs)
            ASSERT_EQ(std::pair(output.peak, output.rms), std::pair(number, number));
        for (const tool::GameSource& source : game.sources)
            ASSERT_EQ(std::tuple(source.number, source.distance, source.level),
                      std::tuple(game.ringFrames, number, number));
    }
    isOver = true;
    writer.join();
    EXPECT_GT(last, 1U);
    page.Withdraw();
}

TEST_F(StatusPages, SeveralRuns_AddUpAndTheLastThatBeganIsShown) {
    page.Publish();
    goal::StatusShare first, second;
    const auto play = [&](goal::StatusShare& share, std::uint32_t sources, std::uint32_t late, float peak) {
        goal::StatusBlock block;
        block.sourcesPlaying = sources;
        block.lateBlocks = late;
        block.outputs[0].peak = peak;
        page.NoteBlock(block, share);
    };
    page.NoteOutput({"One", "Mono", 48000, 256, 1, {"M"}}, first);
    page.NoteOutput({"Two", "Mono", 48000, 256, 1, {"M"}}, second);
    play(first, 5, 2, 0.5F);
    play(second, 3, 1, 0.25F);
    play(first, 4, 4, 0.5F);
    GameStatus game = OfThisProcess().at(0);
    EXPECT_EQ(std::tuple(game.sourcesPlaying, game.mostPlaying, game.lateBlocks, game.blocks),
              std::tuple(7U, 8U, 5U, 3U));
    EXPECT_EQ(std::pair(game.greatestPeak, game.outputs.at(0).peak), std::pair(0.5, 0.25));
    page.NoteRunEnd(second);
    EXPECT_TRUE(page.IsFree());
    page.NoteRunEnd(first);
    game = OfThisProcess().at(0);
    EXPECT_EQ(std::tuple(game.sourcesPlaying, game.lateBlocks, game.outputs.size()), std::tuple(0U, 5U, 0U));
    page.Withdraw();
}

// A tone of amplitude 0.5 at double the reference distance, on the right and a little behind. The file that
// the sound goes into is what the levels of the outputs are held against.
TEST_F(StatusPages, Levels_AreThoseOfAToneInTheOutput) {
    const std::string file = store.folder.path / "out.wav";
    orb3::ConfigStore settings{orb3::storeRoot, orb3::ConfigStore::Scope::User};
    settings.Write("/Platform/Output", "WaveFile");
    settings.Write("/Platform/WaveFile", file);
    settings.Write("/Platform/WaveFilePace", "Unpaced");
    settings.Write("/Platform/SpeakerSetting", "Quad");
    testing_support::StoreDocument();
    testing_support::RecordingLog log;
    goal::OutputMachinery machinery;
    goal::Engine engine{&log, &machinery, testing_support::keepDefaults};
    engine.status = &page;
    engine.isStepped = true;
    page.Publish();
    std::vector<float> tone(480);
    for (std::size_t i = 0; i < tone.size(); ++i)
        tone[i] = static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * static_cast<double>(i) / 48));
    goal::Buffer buffer(1, AL_FORMAT_MONO_FLOAT32, 48000, tone.data(), 480 * sizeof(float), true);
    goal::Context context(engine);
    context.server.Start(context, 48000);
    {
        const slib::Lock lock(context.stateMutex);
        goal::Source source;
        source.queue.append(&buffer);
        source.looping = true;
        static_cast<goal::SourceBaseParameters&>(source).position = {1.6F, 0, 1.2F};
        source.state = goal::SourceState::Playing;
        context.application.touched.Insert(context.application.sources.Take(source));
    }
    for (int passed = 0; passed < 2 * 48000;)
        passed += static_cast<int>(context.gate.LetOneThrough(10'000).frames);
    const GameStatus game = OfThisProcess().at(0);
    ASSERT_EQ(game.sources.size(), 1U);
    const tool::GameSource& heard = game.sources[0];
    EXPECT_EQ(heard.number, 1U);
    EXPECT_NEAR(heard.x, 0.8, 1e-4);
    EXPECT_NEAR(heard.y, 0, 1e-4);
    EXPECT_NEAR(heard.z, 0.6, 1e-4);
    EXPECT_NEAR(heard.distance, 2, 1e-4);
    EXPECT_NEAR(tool::Decibels(heard.level), 20 * std::log10(0.25 / std::sqrt(2)), 0.1);
    context.server.End();
    const testing_support::Recording recording = testing_support::ReadWaveFile(file, 4);
    ASSERT_GE(recording.Frames(), 84000U);
    const std::vector<double> levels = recording.Levels({60000, 84000});
    ASSERT_EQ(game.outputs.size(), 4U);
    for (std::size_t c = 0; c < 4; ++c)
        EXPECT_NEAR(tool::Decibels(game.outputs[c].rms), tool::Decibels(levels[c]), 0.1) << c;
    EXPECT_NEAR(game.outputs[3].peak, levels[3] * std::sqrt(2), levels[3] * 0.01);
    EXPECT_EQ(game.outputs[3].name, "BR");
    const tool::Json document = tool::GamesJson({game});
    EXPECT_EQ(document.at("games")[0].at("sources")[0].at("z"), 0.6);
    EXPECT_EQ(document.at("games")[0].at("limiterGain"), 0);
    page.Withdraw();
}

// The program, on a page of this process: once, and on a terminal until a key or a signal ends it.
TEST_F(StatusPages, Top_ShowsTheGamesOnceOrUntilItIsEnded) {
    const std::string top = testing_support::BuildTree() / "bin" / "tessarune-config top";
    const std::string out = store.folder.path / "out";
    const auto run = [&](const std::string& line) {
        EXPECT_EQ(std::system(("{ " + line + "; } > " + out + " 2>&1").c_str()), 0) << line;
        return testing_support::ReadFile(out);
    };
    EXPECT_EQ(run(top), "No game is running.\n");
    goal::StatusShare share;
    page.Publish();
    page.NoteContextMade();
    page.NoteOutput({"Speakers", "Quad", 48000, 256, 3, {"FL", "FR"}}, share);
    goal::StatusBlock block = BlockOf(1);
    block.loadMean = 0.25F;
    page.NoteBlock(block, share);
    EXPECT_THAT(run(top + " --once"),
                testing::AllOf(testing::HasSubstr("test_tools  "), testing::HasSubstr("25%"),
                               testing::HasSubstr("  Speakers  Quad")));
    EXPECT_EQ(tool::Json::parse(run(top + " --json")).at("games").back().at("loadMean"), 0.25);
    // What is typed, and what ends the program.
    for (const auto& [typed, ended] : {std::pair("{ sleep 0.15; printf q; sleep 0.1; }", ""),
                                       std::pair("sleep 0.3", "timeout --foreground 0.15 ")})
        EXPECT_THAT(run(std::string(typed) + " | TERM=xterm script -qec \"stty cols 60 rows 20; " + ended +
                        top + "; stty -a | grep -q ' icanon.* echo '\" /dev/null"),
                    testing::AllOf(testing::HasSubstr("FR      [="), testing::HasSubstr("\033[?1049l")));
    page.Withdraw();
}

struct Damage {
    const char* name;
    std::function<void(std::string&)> make;
    bool isReadable;
};

class DamagedPage : public StatusPages, public testing::WithParamInterface<Damage> {};

TEST_P(DamagedPage, Read_RefusesWhatIsNoPage) {
    page.SetProfile("Profile", "");
    page.Publish();
    std::string bytes = testing_support::ReadFile(FileOf(getpid()));
    page.Withdraw();
    GetParam().make(bytes);
    std::ofstream(FileOf(1)) << bytes;
    EXPECT_EQ(tool::ReadStatusPage(FileOf(1)).has_value(), GetParam().isReadable);
}

INSTANTIATE_TEST_SUITE_P(
    Pages, DamagedPage,
    testing::Values(
        Damage{"Whole", [](std::string&) {}, true},
        Damage{"Empty", [](std::string& bytes) { bytes.clear(); }, false},
        Damage{"Cut", [](std::string& bytes) { bytes.pop_back(); }, false},
        Damage{"TooLong", [](std::string& bytes) { bytes += ' '; }, false},
        Damage{"OfAnotherKind", [](std::string& bytes) { bytes[0] = 'x'; }, false},
        Damage{"OfAnotherVersion", [](std::string& bytes) { bytes[8] = 2; }, false},
        Damage{"OfAnotherSize", [](std::string& bytes) { bytes[13] = 1; }, false},
        Damage{"InTheMiddleOfAChange", [](std::string& bytes) { ++bytes[20]; }, true},
        Damage{"FullOfNoNumbers", [](std::string& bytes) { bytes.replace(64, 4032, 4032, '\xFF'); }, true},
        Damage{"FullOfText", [](std::string& bytes) { bytes.replace(64, 4032, 4032, 'x'); }, true}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
