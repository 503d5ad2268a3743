#include <iostream>
#include <memory>
#include <string>

#include "tools/config/commands.h"
#include "tools/config/settings.h"
#include "tools/config/storedvalues.h"
#include "tools/config/table.h"

namespace tool {
namespace {

constexpr const char* getExamples = R"(Examples:
  tessarune-config get                       all settings, with what they may be
  tessarune-config get Order
  tessarune-config get SpeakerSetting --range)";
constexpr const char* setExamples = R"(Examples:
  tessarune-config set Order 4
  tessarune-config set UseParallelDecoder on
  tessarune-config set SpeakerSetting "Surround 5.1"
  tessarune-config set WaveFile game.wav
  tessarune-config set Output WaveFile)";

void PrintAll() {
    const orb3::Configuration configuration = ReadDocument();
    std::vector<std::vector<std::string>> rows{{"SETTING", "VALUE", "FOR", "MAY BE"}};
    for (const Setting& setting : Settings())
        rows.push_back(
            {setting.name, GetSetting(setting, configuration), setting.meaning, setting.range.Text()});
    PrintTable(rows, "");
}

void Get(const std::string& name, bool withRange) {
    if (name.empty()) return PrintAll();
    const Setting& setting = FindSetting(name);
    std::cout << GetSetting(setting, ReadDocument()) << "\n";
    if (withRange) std::cout << setting.range.Text() << " (" << setting.meaning << ")\n";
}

void Set(const std::string& name, const std::string& text) {
    const Setting& setting = FindSetting(name);
    const std::string value = StoreSetting(setting, text);
    std::cout << setting.name << " is " << (value.empty() ? "empty" : value) << " now.\n";
}

}  // namespace

void AddSettingCommands(CLI::App& program) {
    struct Options {
        std::string name, value;
        bool withRange = false;
    };
    const auto options = std::make_shared<Options>();
    CLI::App* get = program.add_subcommand("get", "Print a setting, or all of them.");
    get->footer(getExamples);
    get->add_option("SETTING", options->name, "Its name");
    get->add_flag("--range", options->withRange, "Print as well what it may be");
    get->callback([options] { Get(options->name, options->withRange); });

    CLI::App* set = program.add_subcommand("set", "Change a setting.");
    set->footer(setExamples);
    set->add_option("SETTING", options->name, "Its name")->required();
    set->add_option("VALUE", options->value, "What it becomes")->required();
    set->callback([options] { Set(options->name, options->value); });
}

}  // namespace tool
