#include <iostream>
#include <memory>
#include <string>

#include "orb3core/setup/layoutselection.h"
#include "orb3core/store/configstore.h"
#include "platform/storelocation.h"
#include "tools/config/commands.h"
#include "tools/config/settingcell.h"
#include "tools/manage/settings.h"
#include "tools/manage/storedvalues.h"
#include "tools/support/table.h"

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

Json LayoutJson(const orb3::Configuration& configuration) {
    const auto layout = orb3::FindSelectedLayout(configuration);
    if (!layout) return nullptr;
    return {{"name", layout->format}, {"device", layout->pipeDevice}, {"method", layout->method}};
}

Table Settings(const orb3::Configuration& configuration) {
    Table table({{"SETTING", "setting"}, {"VALUE", "value"}, {"FOR", "for"}});
    for (const orb3::Setting& setting : orb3::Settings())
        table.AddRow({setting.Name(), SettingCell(setting, configuration), std::string(setting.meaning)});
    return table;
}

void Print(const orb3::Configuration& configuration, bool isStored) {
    Table places({{"", ""}, {"", ""}});
    places.AddRow({"Your settings", StoreFile().string()});
    places.AddRow({"Machine's settings", platform::MachineStorePath(orb3::storeRoot).string()});
    places.AddRow({"Format library", orb3::ReadFormatLibraryPath()});
    places.AddRow({"Layout", LayoutText(configuration)});
    places.PrintAligned(std::cout, "", false);
    if (!isStored) std::cout << "No configuration is stored yet; these are the defaults.\n";
    Settings(configuration).PrintAligned(std::cout, "  ", false);
}

void Show(bool isJson) {
    const orb3::Configuration configuration = ReadDocument();
    const bool isStored = !ReadDocumentText().empty();
    if (!isJson) return Print(configuration, isStored);
    PrintJson({{"user_file", StoreFile().string()},
               {"machine_file", platform::MachineStorePath(orb3::storeRoot).string()},
               {"format_library", orb3::ReadFormatLibraryPath()},
               {"layout", LayoutJson(configuration)},
               {"is_stored", isStored},
               {"settings", Settings(configuration).ToJson()}});
}

}  // namespace

void AddShowCommand(Program& program) {
    CommandLine* command = program.AddCommand("show", "Show all settings and where they are stored.");
    command->SetFooter(examples);
    const auto isJson = std::make_shared<bool>(false);
    AddJsonFlag(*command, *isJson);
    command->OnUse([isJson] { Show(*isJson); });
}

}  // namespace tool
