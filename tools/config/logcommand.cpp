#include <chrono>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tools/config/commands.h"
#include "tools/support/logring.h"

namespace tool {
namespace {

constexpr const char* examples = R"(Examples:
  tessarune-config log
  tessarune-config log --follow      until Ctrl-C)";
constexpr auto patience = std::chrono::milliseconds(250);

void Print(const std::vector<std::string>& lines) {
    for (const std::string& line : lines)
        std::cout << line << "\n";
    std::cout.flush();
}

void Show(bool follow) {
    LogRing ring = ReadLogRing();
    const std::vector<std::string> lines = Lines(ring);
    Print(lines);
    if (lines.empty()) std::cerr << "The log is empty: no game has started yet.\n";
    while (follow && std::cout) {
        std::this_thread::sleep_for(patience);
        if (!HasNewLines(ring)) continue;
        const LogRing now = ReadLogRing();
        bool isSomeLost = false;
        const std::vector<std::string> fresh = LinesSince(ring, now, isSomeLost);
        if (isSomeLost) std::cout << "[Lines are missing here: too many came at once.]\n";
        Print(fresh);
        ring = now;
    }
}

}  // namespace

void AddLogCommand(CLI::App& program) {
    const auto follow = std::make_shared<bool>(false);
    CLI::App* command = program.add_subcommand("log", "Print the log of all games, the newest line last.");
    command->footer(examples);
    command->add_flag("--follow,-f", *follow, "Keep printing new lines");
    command->callback([follow] { Show(*follow); });
}

}  // namespace tool
