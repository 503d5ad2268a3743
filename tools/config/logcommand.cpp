#include <chrono>
#include <cstddef>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tools/config/commands.h"
#include "tools/support/json.h"
#include "tools/support/logring.h"
#include "tools/support/terminal.h"

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

// "E2026-01-31 12:00:00.00 Game: What happened."
Json ToJson(const std::string& line) {
    const std::size_t time = line.find(' ', line.find(' ') + 1), program = line.find(": ", time);
    if (program == std::string::npos)
        return {{"is_error", nullptr}, {"time", nullptr}, {"program", nullptr}, {"text", line}};
    return {{"is_error", line.starts_with('E')},
            {"time", line.substr(1, time - 1)},
            {"program", line.substr(time + 1, program - time - 1)},
            {"text", line.substr(program + 2)}};
}

void ShowJson() {
    Json document = Json::array();
    for (const std::string& line : Lines(ReadLogRing()))
        document.push_back(ToJson(line));
    PrintJson(document);
}

void Show(bool follow) {
    LogRing ring = ReadLogRing();
    const std::vector<std::string> lines = Lines(ring);
    Print(lines);
    if (lines.empty()) Complain("The log is empty: no game has started yet.");
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

void AddLogCommand(Program& program) {
    const auto follow = std::make_shared<bool>(false), isJson = std::make_shared<bool>(false);
    CommandLine* command = program.AddCommand("log", "Print the log of all games, the newest line last.");
    command->SetFooter(examples);
    Option* following = command->AddFlag("--follow,-f", *follow, "Keep printing new lines");
    AddJsonFlag(*command, *isJson)->Exclude(following);
    command->OnUse([follow, isJson] { *isJson ? ShowJson() : Show(*follow); });
}

}  // namespace tool
