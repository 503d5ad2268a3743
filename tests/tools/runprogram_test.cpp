// tessarune-run around games that use the library, that only load it, and that do neither.

#include "goal/statuspage.h"
#include "orb3core/store/registrylog.h"
#include "tests/tools/tools.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing_support::BuildTree;
using testing_support::Outcome;
using testing_support::Tools;
using testing_support::Words;

std::string Built(const char* name) {
    return (BuildTree() / name).string();
}

TEST_F(Tools, Run_TellsThatAGameUsedTheLibraryAndWhatItLogged) {
    ggui::RegistryLog(orb3::storeRoot, "Test").Write("Before.", false);
    const Outcome used = Run("tessarune-run", {Built("bin/tessarune-info")});
    ExpectOutcome(used, 0, "'tessarune-info' used Tessarune.");
    EXPECT_THAT(used.error, AllOf(HasSubstr("Starting Tessarune"), Not(HasSubstr("Before."))));
    EXPECT_TRUE(std::filesystem::is_empty(folder.path / "runtime" / "HollowbrookLabs"));
}

struct RunRow {
    std::string name;
    std::string script;  ///< of a shell, in the folder of the test; INFO and LIFE are clients of the library
    int status;
    Words said;
    std::string options = "";
};

class RunTells : public Tools, public testing::WithParamInterface<RunRow> {};

TEST_P(RunTells, WhatBecameOfTheGame) {
    const RunRow& row = GetParam();
    std::ofstream(folder.path / "game")
        << "#!/bin/sh\nINFO=" << Built("bin/tessarune-info") << "\nLIFE=" << Built("tests/life") << "\n"
        << row.script << "\n";
    std::filesystem::permissions(folder.path / "game", std::filesystem::perms::owner_all);
    const Outcome outcome = Shell(Built("bin/tessarune-run") + row.options + " ./game");
    EXPECT_EQ(outcome.status, row.status);
    for (const std::string& text : row.said)
        EXPECT_THAT(outcome.error, HasSubstr(text));
}

INSTANTIATE_TEST_SUITE_P(
    Games, RunTells,
    testing::Values(
        RunRow{"AStoreOfItsOwn",
               "cp -r user other; XDG_CONFIG_HOME=$PWD/other $INFO",
               0,
               {"'tessarune-info' used Tessarune."}},
        RunRow{"ALogThatCantBeWritten",
               "cd user/HollowbrookLabs; rm -f log.conf*; mkdir log.conf log.conf.lock; $INFO",
               0,
               {"'tessarune-info' used Tessarune."}},
        RunRow{"NoWayToTheStarter", "unset TESSARUNE_RUN; $INFO", 0, {"'tessarune-info' used Tessarune."}},
        RunRow{"ALauncher", "(sleep 0.2; $INFO) & exit 3", 3, {"'tessarune-info' used Tessarune."}},
        RunRow{"NoContext",
               "exec sleep 0.3",
               0,
               {"'sleep' loaded Tessarune, but made no context with it."},
               " --preload"},
        RunRow{"NoOutput",
               "printf '[Platform]\\nOutput=WaveFile\\nWaveFile=/no/such/file.wav\\n' > "
               "user/HollowbrookLabs/store.conf; $INFO",
               1,
               {"'tessarune-info' loaded Tessarune, which could make no context: "}},
        RunRow{"RefusedCalls",
               "$LIFE refused_calls libopenal.so.1",
               0,
               {"asked for a second context, which SeveralContexts would allow: tessarune-config game set "
                "'life' "
                "SeveralContexts True",
                "which Capture would allow"}},
        RunRow{"AnotherLibraryInMemory",
               "cp /bin/sleep libopenal.so.1; ./libopenal.so.1 0.3",
               0,
               {"loaded another OpenAL library, ", "/libopenal.so.1.own' && ln -s '"}},
        RunRow{"AnotherLibraryInItsFolder",
               "cp /bin/true libopenal.so.1",
               0,
               {"'./game' didn't use Tessarune.", "It brings an OpenAL library of its own, "}},
        RunRow{"NothingOfAll", "exit 7", 7, {"'./game' didn't use Tessarune. Either it plays no sound"}},
        RunRow{"AnEndBySignal", "kill -9 $$", 128 + 9, {"'./game' was ended by the signal 'Killed'"}},
        RunRow{"ALaterEndBySignal",
               "(sleep 0.1; exec sh -c 'kill -11 $$') & exit 0",
               0,
               {"'sh' was ended by the signal 'Segmentation fault'"}}),
    [](const auto& row) { return row.param.name; });

struct Faring {
    std::uint32_t late;
    float load, peak;
    std::string said;
};

// A game that leaves a page of another one.
TEST_F(Tools, Run_SaysThatBlocksWereLateOrThatNothingWasHeard) {
    const Faring farings[] = {{0, 2, 0.5F, ""},
                              {1, 0.4F, 0.5F,
                               ": blocks were late 1 time, and the sound was interrupted. No block took more "
                               "than 40% of its time, so more buffers help: "},
                              {3, 1.5F, 0.5F, "One took 150% of its time"},
                              {0, 0, 1e-9F, "' played sounds, but was silent throughout: "}};
    for (const Faring& faring : farings) {
        goal::StatusPage page;
        goal::StatusShare share;
        goal::StatusBlock block;
        block.lateBlocks = faring.late;
        block.load = faring.load;
        block.sourcesPlaying = 1;
        block.outputs[0].peak = faring.peak;
        page.Publish();
        page.NoteContextMade();
        page.NoteBlock(block, share);
        const Outcome outcome = Shell(Built("bin/tessarune-run") +
                                      " sh -c 'cp runtime/HollowbrookLabs/*.status "
                                      "$TESSARUNE_RUN/1.0.status'");
        page.Withdraw();
        EXPECT_THAT(outcome.error, HasSubstr("'test_tools' used Tessarune."));
        EXPECT_THAT(outcome.error, HasSubstr(faring.said));
        EXPECT_EQ(outcome.error.find("were late") != std::string::npos, faring.late > 0);
    }
}

TEST_F(Tools, Run_PassesArgumentsAndPathOnAndEndsAsItsHelpSays) {
    const Outcome passed = Run("tessarune-run", {"sh", "-c", "echo $LD_LIBRARY_PATH $1", "sh", "--help"},
                               "LD_LIBRARY_PATH=/kept:/too ");
    EXPECT_EQ(passed.out, Built("lib/dropin") + ":/kept:/too --help\n");
    EXPECT_EQ(Run("tessarune-run", {"/no/such/game"}).status, 127);
    EXPECT_EQ(Run("tessarune-run", {}).status, 2);
    EXPECT_EQ(Run("tessarune-run", {"--steam"}).out, "\"" + Built("bin/tessarune-run") + "\" %command%\n");
}

TEST_F(Tools, Run_SaysBeforeTheStartThatThereIsNoLibraryOfTheGamesWidth) {
    const std::string header(
        "\x7f"
        "ELF\1\1\1\0\0\0\0\0\0\0\0\0\2\0\3\0\1\0\0\0",
        24);
    std::ofstream(folder.path / "game") << header << std::string(96, '\0');
    const Outcome outcome = Shell("chmod +x game; " + Built("bin/tessarune-run") + " ./game");
    ExpectOutcome(outcome, 127,
                  "'./game' is a 32-bit program, and this installation has no library for those");
}

}  // namespace
