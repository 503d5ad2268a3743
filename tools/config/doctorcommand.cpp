#include <algorithm>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "slib/exception.h"
#include "tools/config/commands.h"
#include "tools/config/steps.h"
#include "tools/manage/doctor.h"
#include "tools/support/json.h"

namespace tool {
namespace {

constexpr const char* examples = R"(Examples:
  tessarune-config doctor
  tessarune-config doctor ~/games/mygame     whether this game would take our library

Each line says what was looked at, and "fine", or what is wrong and the command that mends it. Nothing is changed.
Exit status: 0 when all is fine, 1 when something is wrong, 2 for a command line that is wrong.)";

void Print(const std::vector<HealthResult>& results) {
    constexpr std::size_t width = 18;
    for (const auto& [check, finding] : results) {
        std::string title = check->title;
        title.resize(std::max(width, title.size()), ' ');
        std::cout << title << (finding.isFine ? "fine: " : "WRONG: ") << finding.text;
        if (!finding.remedy.empty())
            std::cout << (finding.text.ends_with('.') ? " " : ". ") << "Mend it: " << finding.remedy;
        std::cout << "\n";
    }
}

Json ToJson(const std::vector<HealthResult>& results, bool areFine) {
    Json checks = Json::array();
    for (const auto& [check, finding] : results)
        checks.push_back({{"check", check->key},
                          {"is_fine", finding.isFine},
                          {"finding", finding.text},
                          {"remedy", finding.remedy.empty() ? Json(nullptr) : Json(finding.remedy)}});
    return {{"version", Version()}, {"is_fine", areFine}, {"checks", std::move(checks)}};
}

void Doctor(const std::string& folder, bool isJson) {
    Progress progress("Looking");
    const std::vector<HealthResult> results = LookAtAll(folder, StepsOf(progress));
    const auto faults =
        std::ranges::count_if(results, [](const HealthResult& r) { return !r.finding.isFine; });
    isJson ? PrintJson(ToJson(results, faults == 0)) : Print(results);
    std::cout.flush();
    if (faults > 0)
        throw slib::BadStateException(faults == 1 ? "One thing is wrong."
                                                  : std::to_string(faults) + " things are wrong.");
}

}  // namespace

void AddDoctorCommand(Program& program) {
    const auto folder = std::make_shared<std::string>();
    const auto isJson = std::make_shared<bool>(false);
    CommandLine* command =
        program.AddCommand("doctor", "Look for what keeps a game's sound from being right.");
    command->SetFooter(examples);
    command->AddOption("FOLDER", *folder, "Also look into this folder of a game")->TakeExistingFolder();
    AddJsonFlag(*command, *isJson);
    command->OnUse([folder, isJson] { Doctor(*folder, *isJson); });
}

}  // namespace tool
