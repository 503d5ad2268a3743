// Starts a game with this library in place of the OpenAL library that it would load, and says afterwards
// whether the game used it, with the lines that it left in the log.
//
// Ends with the exit statuses that its help lists.

#include <stdlib.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "goal/statusfiles.h"
#include "tools/run/linksfolder.h"
#include "tools/run/observer.h"
#include "tools/run/recorder.h"
#include "tools/run/report.h"
#include "tools/run/startplan.h"
#include "tools/run/supervisor.h"
#include "tools/support/installedtree.h"
#include "tools/support/logring.h"
#include "tools/support/program.h"

namespace {

using std::filesystem::path;

constexpr const char* programName = "tessarune-run";
constexpr int notStarted = 127;
constexpr const char* footer = R"(Everything behind PROGRAM is passed to the game unchanged.

What the game starts is waited for too, also when the game itself ends before it, as a launcher does.

Examples:
  tessarune-run ./game
  tessarune-run supertuxkart --fullscreen
  tessarune-run --preload ./game
  tessarune-run --steam
  tessarune-run --record bug.calls ./game

Exit status: 0 to 255 as PROGRAM ends, whatever becomes of what it started; 128 and the number of the signal that ended it; 127 when it couldn't be started; 2 for a command line that is wrong.)";

struct Options {
    bool isPreloaded = false;
    bool isForSteam = false;
    std::string recording;             // a file; empty for none
    std::uint64_t recordingLimit = 0;  // MiB; 0 for the usual one
};

void Say(const std::string& sentence) {
    std::cerr << programName << ": " << sentence << "\n";
}

// The library that records calls comes first, and loads ours itself.
void Record(const Options& options, tool::StartPlan& plan) {
    const std::vector<path> recorders = tool::RecorderFolders(plan.folders);
    plan.folders.insert(plan.folders.begin(), recorders.begin(), recorders.end());
    plan.variables = tool::PrepareRecording(options.recording, options.recordingLimit);
}

tool::StartPlan PlanFor(const tool::Game& game, const Options& options, const path& links) {
    tool::StartPlan plan;
    plan.folders = tool::DropInFolders();
    if (!options.recording.empty()) Record(options, plan);
    if (options.isPreloaded) plan.preloads = tool::PreloadsFor(game, plan.folders);
    if (!links.empty()) plan.variables[goal::statusLinksVariable] = links;
    return plan;
}

void WarnOfWidth(const tool::Game& game, const tool::StartPlan& plan) {
    if (tool::CanLoadOurs(game, plan.folders)) return;
    Say("'" + game.name + "' is a " + std::to_string(game.bits) +
        "-bit program, and this installation has no library for those, so it will load another OpenAL "
        "library. Install Tessarune with its " +
        std::to_string(game.bits) + "-bit library: the user guide says how.");
}

void PrintReport(const tool::Run& run, const tool::LogRing& before) {
    bool isSomeLost = false;
    const std::vector<std::string> lines = tool::LinesSince(before, tool::ReadLogRing(), isSomeLost);
    std::cerr << "\n";
    for (const std::string& line : tool::Verdict(run))
        line.starts_with(' ') ? void(std::cerr << line << "\n") : Say(line);
    if (!lines.empty()) Say("What was logged meanwhile:");
    for (const std::string& line : lines)
        std::cerr << "  " << line << "\n";
    if (isSomeLost) Say("Earlier lines are no longer in the log.");
    for (const std::string& line : tool::Deaths(run))
        Say(line);
}

int Run(char** arguments, const Options& options) {
    const tool::LinksFolder links;
    const tool::Game game(arguments[0]);
    const tool::StartPlan plan = PlanFor(game, options, links.path);
    WarnOfWidth(game, plan);
    plan.Enter();
    const tool::LogRing before = tool::ReadLogRing();
    tool::Observer observer(links.path, plan.folders);
    const tool::Ending ending = tool::Supervise(
        arguments, [&] { observer.Look(); }, Say);
    PrintReport({game, plan, observer, ending, !links.path.empty()}, before);
    if (!options.recording.empty())
        for (const std::string& line : tool::TellOfRecording(options.recording))
            Say(line);
    return WIFSIGNALED(ending.status) ? 128 + WTERMSIG(ending.status) : WEXITSTATUS(ending.status);
}

int RunOrExplain(char** arguments, const Options& options) {
    if (options.isForSteam) {
        std::cout << tool::SteamLaunchOptions() << "\n";
        return 0;
    }
    if (arguments[0] == nullptr) throw tool::WrongUse("Name the program that is to be started.");
    try {
        return Run(arguments, options);
    } catch (const std::exception& failure) {
        Say(failure.what());
        return notStarted;
    }
}

// The words up to the game's name; what follows is the game's.
int CountOwn(const tool::Program& program, int count, char** arguments) {
    int own = 1;
    for (; own < count && arguments[own][0] == '-'; ++own) {
        if (program.NeedsValue(arguments[own])) ++own;
    }
    return std::min(own + 1, count);
}

}  // namespace

int main(int count, char** arguments) {
    tool::Program program(programName,
                          "Starts a game with Tessarune in place of the OpenAL library that it would load. "
                          "Says afterwards whether the game used it, and prints what was logged meanwhile.");
    program.SetFooter(footer);
    Options options;
    program.AddFlag("--preload", options.isPreloaded,
                    "Have the loader take Tessarune before all other libraries, for a game that is linked "
                    "with an OpenAL library of its own");
    program.AddFlag("--steam", options.isForSteam,
                    "Start nothing; print what Steam takes as a game's launch options");
    program.AddOption("--record", options.recording,
                      "Record all calls of the game into this file, which tessarune-replay plays");
    program.AddOption("--record-limit", options.recordingLimit,
                      "End the recording at so many MiB; 1024 when this isn't given");
    std::string game;
    std::vector<std::string> passed;  // always empty: for the help
    program.OfferFor(program.AddOption("PROGRAM", game, "The game: its path, or a name that PATH finds"),
                     {{}, {}, true});
    program.AddOption("ARGUMENTS", passed, "What the game takes");
    const int own = CountOwn(program, count, arguments);
    return program.Run(own, arguments, [&] {
        return RunOrExplain(game.empty() ? arguments + count : arguments + own - 1, options);
    });
}
