// Status pages, from the process that publishes one to a program that reads it.

#include "tools/support/gamestatus.h"

#include <gmock/gmock.h>

#include <functional>

#include "goal/statusfiles.h"
#include "goal/statuspage.h"
#include "platform/processid.h"
#include "tests/support/process.h"
#include "tests/support/temporaryfolder.h"

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
    testing::Values(Damage{"Whole", [](std::string&) {}, true},
                    Damage{"Empty", [](std::string& bytes) { bytes.clear(); }, false},
                    Damage{"Cut", [](std::string& bytes) { bytes.pop_back(); }, false},
                    Damage{"TooLong", [](std::string& bytes) { bytes += ' '; }, false},
                    Damage{"OfAnotherKind", [](std::string& bytes) { bytes[0] = 'x'; }, false},
                    Damage{"OfAnotherVersion", [](std::string& bytes) { bytes[8] = 2; }, false},
                    Damage{"OfAnotherSize", [](std::string& bytes) { bytes[13] = 1; }, false},
                    Damage{"InTheMiddleOfAChange", [](std::string& bytes) { ++bytes[20]; }, true},
                    Damage{"FullOfText", [](std::string& bytes) { bytes.replace(64, 4032, 4032, 'x'); },
                           true}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
