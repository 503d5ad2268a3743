#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "orb3core/settings/gameprofile.h"
#include "platform/storelocation.h"
#include "tools/config/commands.h"
#include "tools/config/settings.h"
#include "tools/config/storedvalues.h"
#include "tools/support/range.h"
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

std::vector<orb3::GameProfile> Shipped() {
    return orb3::ReadShippedGameProfiles(platform::LoadedTree());
}

std::vector<orb3::GameProfile> Users() {
    return orb3::ParseGameProfiles(ReadValue(orb3::gameProfilesKey));
}

std::string Patterns(const orb3::GameProfile& profile) {
    std::string text = profile.programs;
    if (!profile.libraries.empty()) text += (text.empty() ? "with " : ", or with ") + profile.libraries;
    return text;
}

// The name of the profile that is meant: by its name, or by that of a program that it is for.
std::string ProfileName(const std::string& name) {
    std::vector<orb3::GameProfile> all = orb3::JoinGameProfiles(Shipped(), Users());
    if (orb3::FindGameProfile(all, name) != all.end()) return name;
    const auto found = orb3::FindGameProfileFor(all, {{name}, {}});
    return found ? found->name : name;
}

// Where a profile comes from.
std::string Origin(const orb3::GameProfile& profile, std::vector<orb3::GameProfile>& shipped,
                   std::vector<orb3::GameProfile>& users) {
    const bool isUsers = orb3::FindGameProfile(users, profile.name) != users.end();
    const bool isShipped = orb3::FindGameProfile(shipped, profile.name) != shipped.end();
    if (!isUsers) return "shipped";
    return isShipped ? "shipped, changed by you" : "yours";
}

void List(const Options& options) {
    std::vector<orb3::GameProfile> shipped = Shipped(), users = Users();
    Table table({{"GAME", "game"}, {"PROGRAMS", "programs"}, {"CHANGES", "changes"}, {"FROM", "from"}});
    for (const orb3::GameProfile& profile : orb3::JoinGameProfiles(shipped, users))
        table.AddRow({profile.name, Patterns(profile), orb3::DescribeChanges(profile),
                      Origin(profile, shipped, users)});
    options.isJson ? PrintJson({{"games", table.ToJson()}}) : table.PrintAligned(std::cout);
}

orb3::GameProfile Find(const std::string& name, std::vector<orb3::GameProfile> profiles) {
    const auto found = orb3::FindGameProfile(profiles, name);
    if (found != profiles.end()) return *found;
    throw WrongUse("There is no profile '" + name +
                   "'. 'tessarune-config game list' shows those that there are.");
}

std::string Meaning(const std::string& key) {
    if (const auto which = orb3::FindGameSwitch(key))
        return std::string(orb3::gameSwitches[static_cast<std::size_t>(*which)].meaning);
    if (const orb3::Setting* const setting = orb3::FindGameSetting(key)) return std::string(setting->meaning);
    return "no switch and no setting, so it does nothing";
}

void Show(const Options& options) {
    std::vector<orb3::GameProfile> shipped = Shipped(), users = Users();
    const orb3::GameProfile profile = Find(options.name, orb3::JoinGameProfiles(shipped, users));
    Table table({{"CHANGE", "change"}, {"VALUE", "value"}, {"FOR", "for"}});
    for (const auto& [key, value] : profile.values)
        table.AddRow({key, value, Meaning(key)});
    if (options.isJson)
        return PrintJson({{"game", profile.name},
                          {"programs", profile.programs},
                          {"libraries", profile.libraries},
                          {"reason", profile.reason},
                          {"from", Origin(profile, shipped, users)},
                          {"changes", table.ToJson()}});
    std::cout << profile.name << " (" << Origin(profile, shipped, users) << ")\nFor programs "
              << (profile.programs.empty() ? "" : "named ") << Patterns(profile) << ".\n";
    if (!profile.reason.empty()) std::cout << profile.reason << "\n";
    table.PrintAligned(std::cout);
}

// The name and the text as the document holds them.
std::pair<std::string, std::string> Change(const std::string& key, const std::string& value) {
    constexpr orb3::SettingRange flag;
    const auto canonical = [&](const std::string& name, const orb3::SettingRange& range) {
        try {
            return Canonical(range, value);
        } catch (const slib::BadParameterException& fault) {
            throw WrongUse(name + " " + fault.what());
        }
    };
    if (const auto which = orb3::FindGameSwitch(key)) {
        const std::string name(orb3::gameSwitches[static_cast<std::size_t>(*which)].name);
        return {name, canonical(name, flag)};
    }
    const orb3::Setting& setting = FindSetting(key);
    if (orb3::FindGameSetting(setting.Name()) == nullptr)
        throw WrongUse(setting.Name() + " holds for all games: 'tessarune-config set " + setting.Name() +
                       " VALUE'.");
    return {setting.Name(), canonical(setting.Name(), setting.value.range)};
}

void ChangeProfiles(const std::function<void(std::vector<orb3::GameProfile>&)>& change) {
    ReplaceValue(orb3::gameProfilesKey, [&](const std::string& text) {
        std::vector<orb3::GameProfile> profiles = orb3::ParseGameProfiles(text);
        change(profiles);
        return orb3::GameProfilesText(profiles, slib::SXMLNode::Style::Compact);
    });
}

// A profile of the user's own for that name. Without patterns, and without a shipped one that has some, it is
// for the program of that name.
orb3::GameProfile& OwnProfile(std::vector<orb3::GameProfile>& users, const Options& options) {
    auto found = orb3::FindGameProfile(users, options.name);
    if (found == users.end()) {
        std::vector<orb3::GameProfile> shipped = Shipped();
        const bool isShipped = orb3::FindGameProfile(shipped, options.name) != shipped.end();
        const bool hasPatterns = isShipped || !options.programs.empty() || !options.libraries.empty();
        users.push_back({options.name, hasPatterns ? "" : options.name, "", "", {}});
        found = users.end() - 1;
    }
    if (!options.programs.empty()) found->programs = options.programs;
    if (!options.libraries.empty()) found->libraries = options.libraries;
    return *found;
}

void Set(const Options& options) {
    if (options.name.empty()) throw WrongUse("A game's name has at least one character.");
    const auto [key, value] = Change(options.key, options.value);
    ChangeProfiles([&, &key = key, &value = value](std::vector<orb3::GameProfile>& users) {
        OwnProfile(users, options).values[key] = value;
    });
    std::cout << "For '" << options.name << "' " << key << " is now " << value
              << ", from the game's next start on.\n";
}

void Reset(const Options& options) {
    bool isShipped = false;
    ChangeProfiles([&](std::vector<orb3::GameProfile>& users) {
        const auto found = orb3::FindGameProfile(users, options.name);
        std::vector<orb3::GameProfile> shipped = Shipped();
        isShipped = orb3::FindGameProfile(shipped, options.name) != shipped.end();
        if (found != users.end())
            users.erase(found);
        else
            Find(options.name, shipped);
    });
    std::cout << "'" << options.name << "' is "
              << (isShipped ? "as it was shipped" : "no longer treated otherwise")
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
    show->OnUse([options] {
        options->name = ProfileName(options->name);
        Show(*options);
    });
    CommandLine* set = game->AddCommand("set", "Change something for a game.");
    set->SetFooter(Switches());
    set->AddOption("NAME", options->name, "The profile's name, or that of the game's executable")->Require();
    program.OfferFor(set->AddOption("SWITCH", options->key, "A switch, or a setting")->Require(),
                     ChangeNames());
    set->AddOption("VALUE", options->value, "True or False, or the setting's value")->Require();
    set->AddOption("--program", options->programs,
                   "Names of executables that it is for, parted by |, with * and ? for other characters");
    set->AddOption("--library", options->libraries, "Names of libraries whose programs it is for, likewise");
    set->OnUse([options] {
        options->name = ProfileName(options->name);
        Set(*options);
    });
    CommandLine* reset = game->AddCommand("reset", "Forget what you have changed for a game.");
    reset->AddOption("NAME", options->name, "The profile's name, or that of the game's executable")
        ->Require();
    reset->OnUse([options] {
        options->name = ProfileName(options->name);
        Reset(*options);
    });
}

}  // namespace tool
