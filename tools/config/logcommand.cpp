#include <chrono>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tools/config/commands.h"
#include "tools/manage/logentries.h"
#include "tools/manage/messagecures.h"
#include "tools/support/json.h"
#include "tools/support/logring.h"
#include "tools/support/terminal.h"

namespace tool {
namespace {

constexpr const char* examples = R"(Examples:
  tessarune-config log
  tessarune-config log --cures       what to do about each line
  tessarune-config log --follow      until Ctrl-C)";
constexpr auto patience = std::chrono::milliseconds(250);

// Below a line, what to do about it.
void PrintWithCure(const std::string& line) {
    std::cout << line << "\n";
    const auto entry = ParseLogLine(line);
    const MessageCure* const cure = FindCure(entry ? entry->text : line);
    if (cure != nullptr) std::cout << "    " << cure->cure << "\n";
}

Json ToJson(const LogEntry& entry) {
    if (entry.time.empty())
        return {{"is_error", nullptr}, {"time", nullptr}, {"program", nullptr}, {"text", entry.text}};
    return {
        {"is_error", entry.isError}, {"time", entry.time}, {"program", entry.program}, {"text", entry.text}};
}

void ShowJson(bool withCures) {
    Json document = Json::array();
    for (const LogEntry& entry : ReadLogEntries()) {
        Json& row = document.emplace_back(ToJson(entry));
        if (withCures) row["cure"] = entry.cure.empty() ? Json(nullptr) : Json(entry.cure);
    }
    PrintJson(document);
}

void Print(const std::vector<std::string>& lines, bool withCures) {
    for (const std::string& line : lines)
        withCures ? PrintWithCure(line) : void(std::cout << line << "\n");
    std::cout.flush();
}

void Show(bool follow, bool withCures) {
    LogRing ring = ReadLogRing();
    const std::vector<std::string> lines = Lines(ring);
    Print(lines, withCures);
    if (lines.empty()) Complain("The log is empty: no game has started yet.");
    while (follow && std::cout) {
        std::this_thread::sleep_for(patience);
        if (!HasNewLines(ring)) continue;
        const LogRing now = ReadLogRing();
        bool isSomeLost = false;
        const std::vector<std::string> fresh = LinesSince(ring, now, isSomeLost);
        if (isSomeLost) std::cout << "[Lines are missing here: too many came at once.]\n";
        Print(fresh, withCures);
        ring = now;
    }
}

}  // namespace

void AddLogCommand(Program& program) {
    struct Options {
        bool follow = false, withCures = false, isJson = false;
    };
    const auto options = std::make_shared<Options>();
    CommandLine* command = program.AddCommand("log", "Print the log of all games, the newest line last.");
    command->SetFooter(examples);
    Option* following = command->AddFlag("--follow,-f", options->follow, "Keep printing new lines");
    command->AddFlag("--cures", options->withCures, "Below each line, what it means or what to do about it");
    AddJsonFlag(*command, options->isJson)->Exclude(following);
    command->OnUse([options] {
        options->isJson ? ShowJson(options->withCures) : Show(options->follow, options->withCures);
    });
}

}  // namespace tool
