#include <cstddef>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "slib/text.h"
#include "tools/config/commands.h"
#include "tools/config/settingcell.h"
#include "tools/config/settingspage.h"
#include "tools/manage/devicespeakers.h"
#include "tools/manage/settings.h"
#include "tools/manage/storedvalues.h"
#include "tools/support/range.h"
#include "tools/support/table.h"

namespace tool {
namespace {

constexpr const char* getExamples = R"(Examples:
  tessarune-config get                       all settings, and what they may be
  tessarune-config get Order
  tessarune-config get SpeakerSetting --range

)";
constexpr const char* setExamples = R"(Examples:
  tessarune-config set Order 4
  tessarune-config set UseParallelDecoder on
  tessarune-config set Gain -6dB
  tessarune-config set SpeakerSetting "Surround 5.1"
  tessarune-config set SpeakerSetting Quad --device 2       of this device alone
  tessarune-config set WaveFile game.wav
  tessarune-config set Output WaveFile

)";

struct Options {
    std::string name, device;
    std::vector<std::string> value;  // in words
    bool withRange = false;
    bool isPage = false;
    bool isForced = false;
    bool isJson = false;
};

void AddRow(const orb3::Setting& setting, const orb3::Configuration& configuration, Table& table) {
    table.AddRow({setting.Name(), SettingCell(setting, configuration), std::string(setting.meaning),
                  RangeText(setting.value.range)});
}

Table MakeTable() {
    return Table({{"SETTING", "setting"}, {"VALUE", "value"}, {"FOR", "for"}, {"MAY BE", "may_be"}});
}

void PrintAll(bool isJson) {
    const orb3::Configuration configuration = ReadDocument();
    Table table = MakeTable();
    for (const orb3::Setting& setting : orb3::Settings())
        AddRow(setting, configuration, table);
    isJson ? PrintJson(table.ToJson()) : table.PrintAligned(std::cout);
}

// As the list has it.
void PrintJsonOf(const orb3::Setting& setting) {
    Table table = MakeTable();
    AddRow(setting, ReadDocument(), table);
    PrintJson(table.ToJson()[0]);
}

void GetOfDevice(const orb3::Setting& setting, const Options& options) {
    CheckIsOfDevices(setting);
    const OwnDevice device = DeviceOfOwn(options.device);
    const std::string value = SpeakersOf(device);
    if (options.isJson)
        PrintJson({{"setting", setting.Name()}, {"device", device.name}, {"value", value}});
    else
        std::cout << value << "\n";
}

void Get(const Options& options) {
    if (options.isPage) {
        std::cout << SettingsPage();
        return;
    }
    if (options.name.empty()) return PrintAll(options.isJson);
    const orb3::Setting& setting = FindSetting(options.name);
    if (!options.device.empty()) return GetOfDevice(setting, options);
    if (options.isJson) return PrintJsonOf(setting);
    std::cout << GetSetting(setting, ReadDocument()) << "\n";
    if (options.withRange)
        std::cout << setting.Name() << " must be " << RangeText(setting.value.range) << " ("
                  << setting.meaning << ").\n";
}

// As a shell parts them.
std::string Joined(const std::vector<std::string>& words) {
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i)
        text += (i == 0 ? "" : " ") + words[i];
    return text;
}

void SayWhenItActs(const orb3::Setting& setting) {
    if (setting.GetPlace() == orb3::Setting::Place::Platform)
        std::cout
            << "A game that runs keeps its own until it is started again, or another setting changes.\n";
}

void Set(const Options& options) {
    const orb3::Setting& setting = FindSetting(options.name);
    const std::string text = Joined(options.value);
    if (options.device.empty()) {
        const std::string value = StoreSetting(setting, text, options.isForced ? Force::Yes : Force::No);
        std::cout << setting.Name() << " is now " << (value.empty() ? "empty" : value) << ".\n";
    } else {
        CheckIsOfDevices(setting);
        const OwnDevice device = DeviceOfOwn(options.device);
        const std::string value = CheckedSetting(setting, text);
        StoreSpeakersOf(device, value == setting.Default() ? "" : value);
        std::cout << setting.Name() << " of '" << device.name << "' is now " << value << ".\n";
    }
    SayWhenItActs(setting);
}

// The names of all settings, in lines for the terminal.
std::string Names() {
    constexpr std::size_t width = 100;
    std::string text = "Settings:", line;
    for (const orb3::Setting& setting : orb3::Settings()) {
        if (line.size() + setting.Name().size() > width || line.empty()) {
            text += line;
            line = "\n ";
        }
        line += " " + setting.Name();
    }
    return text + line;
}

Offer SettingValues() {
    Offer offer;
    for (const orb3::Setting& setting : orb3::Settings())
        if (const std::vector<std::string> words = Words(setting.value.range); !words.empty())
            offer.valuesAfter[slib::toLower(setting.Name())] = words;
    return offer;
}

}  // namespace

void AddSettingCommands(Program& program) {
    const auto options = std::make_shared<Options>();
    CommandLine* get = program.AddCommand("get", "Print a setting, or all of them.");
    get->SetFooter(std::string(getExamples) + Names());
    Option* name = get->AddOption("SETTING", options->name, "The setting; left out, all are listed");
    program.OfferFor(name, {SettingNames(), {}, false});
    get->AddOption("--device", options->device,
                   "Of SpeakerSetting: that of this device, by its id, name or number")
        ->Need(name);
    get->AddFlag("--range", options->withRange, "Also print what the setting may be, and what it is for");
    get->AddFlag("--markdown", options->isPage, "Print the page docs/settings.md")->Hide();
    AddJsonFlag(*get, options->isJson);
    get->OnUse([options] { Get(*options); });

    CommandLine* set = program.AddCommand("set", "Change a setting.");
    set->SetFooter(std::string(setExamples) + Names());
    program.OfferFor(set->AddOption("SETTING", options->name, "The setting")->Require(),
                     {SettingNames(), {}, false});
    program.OfferFor(set->AddOption("VALUE", options->value, "Its new value")->Require(), SettingValues());
    set->AddOption("--device", options->device,
                   "Of SpeakerSetting: for this device alone, by its id, name or number");
    set->AddFlag("--force", options->isForced, "Even if it would spoil the sound");
    set->OnUse([options] { Set(*options); });
}

}  // namespace tool
