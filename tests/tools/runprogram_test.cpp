// tessarune-run around games that use the library, that only load it, and that do neither.

#include "orb3core/store/registrylog.h"
#include "tests/tools/tools.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing_support::BuildTree;
using testing_support::Outcome;
using testing_support::Tools;

TEST_F(Tools, Run_TellsThatAGameUsedTheLibraryAndWhatItLogged) {
    ggui::RegistryLog(orb3::storeRoot, "Test").Write("Before.", false);
    const Outcome used = Run("tessarune-run", {(BuildTree() / "bin" / "tessarune-info").string()});
    ExpectOutcome(used, 0, "used Tessarune.");
    EXPECT_THAT(used.error, AllOf(HasSubstr("Starting Tessarune"), Not(HasSubstr("Before."))));
    // This client finds the library by the loader's path, and keeps a store of its own.
    const Outcome loaded = Run("tessarune-run", {(BuildTree() / "tests" / "life").string(),
                                                 "open_and_close_often", "libopenal.so.1"});
    ExpectOutcome(loaded, 0, "loaded Tessarune, but made no context");
}

TEST_F(Tools, Run_PassesArgumentsPathAndStatusOnAndTellsOfAGameThatNeverLoads) {
    const Outcome unused =
        Run("tessarune-run", {"sh", "-c", "echo $LD_LIBRARY_PATH $1; exit 7", "sh", "--help"},
            "LD_LIBRARY_PATH=/kept:/too ");
    ExpectOutcome(unused, 7, "'sh' didn't use Tessarune.");
    EXPECT_EQ(unused.out, (BuildTree() / "lib" / "dropin").string() + ":/kept:/too --help\n");
    EXPECT_EQ(Run("tessarune-run", {"sh", "-c", "kill -9 $$"}).status, 128 + 9);
    EXPECT_EQ(Run("tessarune-run", {"/no/such/game"}).status, 127);
    EXPECT_EQ(Run("tessarune-run", {}).status, 2);
}

}  // namespace
