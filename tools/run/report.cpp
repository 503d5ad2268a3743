#include "tools/run/report.h"

#include <string.h>
#include <sys/wait.h>

#include <algorithm>
#include <iterator>

#include "tools/run/faring.h"
#include "tools/run/foreignadvice.h"
#include "tools/run/refusals.h"

namespace tool {
namespace {

using Sentences = std::vector<std::string>;

std::string Quoted(const std::string& name) {
    return "'" + name + "'";
}

void Append(Sentences& lines, const Sentences& more) {
    lines.insert(lines.end(), more.begin(), more.end());
}

std::string UseOf(const GameStatus& game) {
    std::string line = Quoted(game.program) + " used Tessarune.";
    if (game.sampleRate > 0)
        line += " It played to " + Quoted(game.device) + " as " + Quoted(game.layout) + ", at " +
                std::to_string(game.sampleRate) + " Hz in blocks of " + std::to_string(game.blockFrames) +
                " frames.";
    if (!game.profile.empty())
        line += " Its profile is " + Quoted(game.profile) +
                (game.profileChanges.empty() ? "." : ": " + game.profileChanges + ".");
    return line;
}

std::string FateOf(const GameStatus& game) {
    if (game.contextsMade > 0) return UseOf(game);
    if (game.contextsFailed > 0)
        return Quoted(game.program) + " loaded Tessarune, which could make no context: " + game.lastFailure;
    return Quoted(game.program) + " loaded Tessarune, but made no context with it.";
}

bool HasUsed(const std::vector<GameStatus>& games, const std::string& program) {
    return std::ranges::any_of(
        games, [&](const GameStatus& game) { return game.contextsMade > 0 && game.program == program; });
}

// One line for each program, of which there may be many processes: the one that came furthest.
std::vector<GameStatus> OnePerProgram(std::vector<GameStatus> games) {
    std::ranges::stable_sort(games, [](const GameStatus& a, const GameStatus& b) {
        return std::pair(a.contextsMade, a.contextsFailed) > std::pair(b.contextsMade, b.contextsFailed);
    });
    std::vector<GameStatus> chosen;
    for (const GameStatus& game : games)
        if (std::ranges::none_of(chosen, [&](const auto& other) { return other.program == game.program; }))
            chosen.push_back(game);
    return chosen;
}

// Processes that had the library, and left no page.
Sentences LoadedAlone(const Run& run) {
    Sentences lines;
    for (const auto& [process, ours] : run.observer.loaded) {
        const bool isKnown = run.canTell && !ours.isApart;
        const std::string line =
            Quoted(ours.program) + " loaded Tessarune" +
            (isKnown
                 ? ", but made no context with it."
                 : ". Whether it made a context isn't known: XDG_RUNTIME_DIR has to name a folder of yours "
                   "that this program and the game can both reach.");
        if (std::ranges::find(lines, line) == lines.end()) lines.push_back(line);
    }
    return lines;
}

// What else was loaded beside ours doesn't matter.
Sentences MappedForeigners(const Run& run, const std::vector<GameStatus>& games) {
    Sentences lines;
    for (const MappedForeign& foreign : run.observer.foreign) {
        if (HasUsed(games, foreign.program)) continue;
        lines.push_back(Quoted(foreign.program) + " loaded another OpenAL library, " + foreign.file + ".");
        Append(lines, AdviceOn(foreign.file, run.game, run.plan));
    }
    return lines;
}

Sentences Unused(const Run& run) {
    const std::string name = Quoted(run.game.name) + " didn't use Tessarune.";
    const std::vector<std::filesystem::path> beside = LibrariesBesideGame(run.game);
    if (beside.empty())
        return {name + " Either it plays no sound through OpenAL, or it has the calls built into itself."};
    Sentences lines{name};
    for (const std::filesystem::path& library : beside) {
        lines.push_back("It brings an OpenAL library of its own, " + library.string() + ".");
        Append(lines, AdviceOn(library, run.game, run.plan));
    }
    return lines;
}

}  // namespace

std::vector<std::string> Verdict(const Run& run) {
    const std::vector<GameStatus> games = OnePerProgram(run.observer.Statuses());
    Sentences lines;
    for (const GameStatus& game : games)
        lines.push_back(FateOf(game));
    if (games.empty()) Append(lines, LoadedAlone(run));
    Append(lines, MappedForeigners(run, games));
    if (lines.empty()) return Unused(run);
    for (const GameStatus& game : games) {
        Append(lines, ExplainFaring(game));
        Append(lines, ExplainRefusals(game));
    }
    return lines;
}

std::vector<std::string> Deaths(const Run& run) {
    const auto say = [](const std::string& program, int number) {
        return Quoted(program) + " was ended by the signal '" + strsignal(number) + "'.";
    };
    Sentences lines;
    if (WIFSIGNALED(run.ending.status)) return {say(run.game.name, WTERMSIG(run.ending.status))};
    for (const Killed& killed : run.ending.killed)
        lines.push_back(say(killed.program, killed.signal));
    return lines;
}

}  // namespace tool
