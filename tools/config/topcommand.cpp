#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <memory>
#include <tuple>

#include "platform/clock.h"
#include "tools/config/commands.h"
#include "tools/config/screen.h"
#include "tools/config/topview.h"
#include "tools/support/gamestatus.h"
#include "tools/support/statusjson.h"
#include "tools/support/terminal.h"

namespace tool {
namespace {

constexpr const char* examples = R"(Examples:
  tessarune-config top             until q or Ctrl-C; the arrow keys choose a game
  tessarune-config top --once      one table
  tessarune-config top --json      all values, for programs

LOAD is how much of the time that a block plays it takes to render, at the mean and at most of late; LATE counts the
blocks that came too late for the output. Where standard output is no terminal, one table is printed.)";

constexpr int pause = 100;  // ms

std::uint64_t Now() {
    return static_cast<std::uint64_t>(platform::NowNanoseconds());
}

// Those that were started first stay where they are.
std::vector<GameStatus> Games() {
    std::vector<GameStatus> games = StatusOfGames();
    std::ranges::sort(games, {}, [](const GameStatus& game) { return std::pair(game.startTime, game.pid); });
    return games;
}

void ShowOnce() {
    for (const ViewLine& line : TableOfGames(Games(), Now(), TerminalWidth(STDOUT_FILENO)))
        std::cout << line.text << "\n";
}

void Watch() {
    Screen screen;
    pid_t chosen = 0;
    for (ScreenEvent event = ScreenEvent::None; event != ScreenEvent::Quit; event = screen.Await(pause)) {
        const std::vector<GameStatus> games = Games();
        const auto found = std::ranges::find(games, chosen, &GameStatus::pid);
        std::size_t index = found == games.end() ? 0 : static_cast<std::size_t>(found - games.begin());
        if (event == ScreenEvent::Up && index > 0) --index;
        if (event == ScreenEvent::Down && index + 1 < games.size()) ++index;
        chosen = games.empty() ? 0 : games[index].pid;
        screen.Show(ViewOf(games, index, Now(), screen.Size()));
    }
}

}  // namespace

void AddTopCommand(Program& program) {
    const auto isOnce = std::make_shared<bool>(false), isJson = std::make_shared<bool>(false);
    CommandLine* command =
        program.AddCommand("top", "Watch the games that play: load, latency, levels and sources.");
    command->SetFooter(examples);
    command->AddFlag("--once", *isOnce, "Print one table");
    AddJsonFlag(*command, *isJson);
    command->OnUse([isOnce, isJson] {
        if (*isJson) return PrintJson(GamesJson(Games()));
        *isOnce || !Screen::IsAvailable() ? ShowOnce() : Watch();
    });
}

}  // namespace tool
