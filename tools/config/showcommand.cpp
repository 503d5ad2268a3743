#include <iostream>
#include <string>
#include <vector>

#include "orb3core/setup/layoutselection.h"
#include "orb3core/store/configstore.h"
#include "platform/storelocation.h"
#include "tools/config/commands.h"
#include "tools/config/settings.h"
#include "tools/config/storedvalues.h"
#include "tools/config/table.h"

namespace tool {
namespace {

constexpr const char* examples = R"(Examples:
  tessarune-config show
  tessarune-config get          the same settings, and what they may be)";

std::string LayoutText(const orb3::Configuration& configuration) {
    const auto layout = orb3::FindSelectedLayout(configuration);
    if (!layout) return "none yet; the first start chooses one";
    return "'" + layout->format + "' on '" + layout->pipeDevice + "' by the method '" + layout->method + "'";
}

void Show() {
    const orb3::Configuration configuration = ReadDocument();
    PrintTable({{"Your settings", StoreFile().string()},
                {"Machine's settings", platform::MachineStorePath(orb3::storeRoot).string()},
                {"Format library", orb3::ReadFormatLibraryPath()},
                {"Layout", LayoutText(configuration)}},
               "");
    if (ReadDocumentText().empty()) std::cout << "No configuration is stored yet; these are the defaults.\n";
    std::vector<std::vector<std::string>> rows;
    for (const orb3::Setting& setting : orb3::Settings())
        rows.push_back({setting.Name(), GetSetting(setting, configuration), std::string(setting.meaning)});
    PrintTable(rows);
}

}  // namespace

void AddShowCommand(CLI::App& program) {
    CLI::App* command = program.add_subcommand("show", "Show all settings and where they are stored.");
    command->footer(examples);
    command->callback(Show);
}

}  // namespace tool
