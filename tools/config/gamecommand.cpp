#include <cstddef>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "orb3core/settings/gameprofile.h"
#include "tools/config/commands.h"
#include "tools/manage/profiles.h"
#include "tools/support/table.h"

namespace tool {
namespace {

constexpr const char* examples = R"(Examples:
  tessarune-config game list
  tessarune-config game show GStreamer
  tessarune-config game set supertuxkart QuietLookups True
  tessarune-config game set "My Game" Order 2 --program "mygame.x86*"
  tessarune-config game reset supertuxkart

A profile holds for programs with that name, whatever folder they are in: that of the executable, of the script or
archive that an interpreter runs, or of a library that the program has loaded when it makes its first call. A running
game keeps what it started with.)";

struct Options {
    std::string name, key, value, programs, libraries;
    bool isJson = false;
};

void List(const Options& options) {
    const Profiles profiles = ReadProfiles();
    Table table({{"GAME", "game"}, {"PROGRAMS", "programs"}, {"CHANGES", "changes"}, {"FROM", "from"}});
    for (const orb3::GameProfile& profile : profiles.Joined())
        table.AddRow(
            {profile.name, Patterns(profile), orb3::DescribeChanges(profile), profiles.Origin(profile.name)});
    options.isJson ? PrintJson({{"games", table.ToJson()}}) : table.PrintAligned(std::cout);
}

std::string Meaning(const std::string& key) {
    if (const auto which = orb3::FindGameSwitch(key))
        return std::string(orb3::gameSwitches[static_cast<std::size_t>(*which)].meaning);
    if (const orb3::Setting* const setting = orb3::FindGameSetting(key)) return std::string(setting->meaning);
    return "no switch and no setting, so it does nothing";
}

void Show(const Options& options) {
    const Profiles profiles = ReadProfiles();
    const orb3::GameProfile profile = FindProfile(profiles.Joined(), ProfileName(profiles, options.name));
    const std::string origin = profiles.Origin(profile.name);
    Table table({{"CHANGE", "change"}, {"VALUE", "value"}, {"FOR", "for"}});
    for (const auto& [key, value] : profile.values)
        table.AddRow({key, value, Meaning(key)});
    if (options.isJson)
        return PrintJson({{"game", profile.name},
                          {"programs", profile.programs},
                          {"libraries", profile.libraries},
                          {"reason", profile.reason},
                          {"from", origin},
                          {"changes", table.ToJson()}});
    std::cout << profile.name << " (" << origin << ")\nFor programs "
              << (profile.programs.empty() ? "" : "named ") << Patterns(profile) << ".\n";
    if (!profile.reason.empty()) std::cout << profile.reason << "\n";
    table.PrintAligned(std::cout);
}

void Set(const Options& options) {
    const std::string name = ProfileName(ReadProfiles(), options.name);
    const auto [key, value] =
        ChangeProfile({name, options.key, options.value, options.programs, options.libraries});
    std::cout << "For '" << name << "' " << key << " is now " << value
              << ", from the game's next start on.\n";
}

void Reset(const Options& options) {
    const std::string name = ProfileName(ReadProfiles(), options.name);
    const bool isShipped = ResetProfile(name);
    std::cout << "'" << name << "' is " << (isShipped ? "as it was shipped" : "no longer treated otherwise")
              << ", from its next start on.\n";
}

std::string Switches() {
    std::string text = "Switches:";
    for (const orb3::GameSwitchRow& row : orb3::gameSwitches)
        text += "\n  " + std::string(row.name) + ": " + std::string(row.meaning);
    return text +
           "\n\nAny setting of the configuration document may stand in place of a switch "
           "('tessarune-config get' lists them).";
}

Offer ChangeNames() {
    Offer offer;
    for (const orb3::GameSwitchRow& row : orb3::gameSwitches)
        offer.values.emplace_back(row.name);
    for (const orb3::Setting& setting : orb3::Settings())
        if (orb3::FindGameSetting(setting.Name()) != nullptr) offer.values.push_back(setting.Name());
    return offer;
}

}  // namespace

void AddGameCommand(Program& program) {
    const auto options = std::make_shared<Options>();
    CommandLine* game = program.AddCommand("game", "Treat a single game otherwise than all others.");
    game->SetFooter(std::string(examples) + "\n\n" + Switches());
    game->RequireCommand();
    CommandLine* list = game->AddCommand("list", "List the profiles, shipped ones and yours.");
    AddJsonFlag(*list, options->isJson);
    list->OnUse([options] { List(*options); });
    CommandLine* show = game->AddCommand("show", "Print a profile, and why it is there.");
    show->AddOption("NAME", options->name, "The profile's name, or that of the game's executable")->Require();
    AddJsonFlag(*show, options->isJson);
    show->OnUse([options] { Show(*options); });
    CommandLine* set = game->AddCommand("set", "Change something for a game.");
    set->SetFooter(Switches());
    set->AddOption("NAME", options->name, "The profile's name, or that of the game's executable")->Require();
    program.OfferFor(set->AddOption("SWITCH", options->key, "A switch, or a setting")->Require(),
                     ChangeNames());
    set->AddOption("VALUE", options->value, "True or False, or the setting's value")->Require();
    set->AddOption("--program", options->programs,
                   "Names of executables that it is for, parted by |, with * and ? for other characters");
    set->AddOption("--library", options->libraries, "Names of libraries whose programs it is for, likewise");
    set->OnUse([options] { Set(*options); });
    CommandLine* reset = game->AddCommand("reset", "Forget what you have changed for a game.");
    reset->AddOption("NAME", options->name, "The profile's name, or that of the game's executable")
        ->Require();
    reset->OnUse([options] { Reset(*options); });
}

}  // namespace tool
