#include "tools/manage/profiles.h"

#include <cstddef>
#include <functional>

#include "platform/storelocation.h"
#include "slib/exception.h"
#include "tools/manage/history.h"
#include "tools/manage/settings.h"
#include "tools/manage/storedvalues.h"
#include "tools/support/range.h"
#include "tools/support/wronguse.h"

namespace tool {
namespace {

using GameProfiles = std::vector<orb3::GameProfile>;

bool HasName(GameProfiles profiles, const std::string& name) {
    return orb3::FindGameProfile(profiles, name) != profiles.end();
}

GameProfiles Shipped() {
    return orb3::ReadShippedGameProfiles(platform::LoadedTree());
}

// The name and the text as the document holds them.
std::pair<std::string, std::string> Stored(const std::string& key, const std::string& value) {
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

void ChangeUsers(const std::function<void(GameProfiles&)>& change) {
    ReplaceValue(orb3::gameProfilesKey, [&](const std::string& text) {
        GameProfiles profiles = orb3::ParseGameProfiles(text);
        change(profiles);
        return orb3::GameProfilesText(profiles, slib::SXMLNode::Style::Compact);
    });
}

// A profile of the user's own for that name.
orb3::GameProfile& OwnProfile(GameProfiles& users, const ProfileChange& change) {
    auto found = orb3::FindGameProfile(users, change.name);
    if (found == users.end()) {
        const bool hasPatterns =
            HasName(Shipped(), change.name) || !change.programs.empty() || !change.libraries.empty();
        users.push_back({change.name, hasPatterns ? "" : change.name, "", "", {}});
        found = users.end() - 1;
    }
    if (!change.programs.empty()) found->programs = change.programs;
    if (!change.libraries.empty()) found->libraries = change.libraries;
    return *found;
}

}  // namespace

bool Profiles::IsShipped(const std::string& name) const {
    return HasName(shipped, name);
}

bool Profiles::IsUsers(const std::string& name) const {
    return HasName(users, name);
}

std::string Profiles::Origin(const std::string& name) const {
    if (!IsUsers(name)) return "shipped";
    return IsShipped(name) ? "shipped, changed by you" : "yours";
}

Profiles ReadProfiles() {
    return {Shipped(), orb3::ParseGameProfiles(ReadValue(orb3::gameProfilesKey))};
}

std::string ProfileName(const Profiles& profiles, const std::string& name) {
    const GameProfiles all = profiles.Joined();
    if (HasName(all, name)) return name;
    const auto found = orb3::FindGameProfileFor(all, {{name}, {}});
    return found ? found->name : name;
}

orb3::GameProfile FindProfile(GameProfiles profiles, const std::string& name) {
    const auto found = orb3::FindGameProfile(profiles, name);
    if (found != profiles.end()) return *found;
    throw WrongUse("There is no profile '" + name +
                   "'. 'tessarune-config game list' shows those that there are.");
}

std::string Patterns(const orb3::GameProfile& profile) {
    std::string text = profile.programs;
    if (!profile.libraries.empty()) text += (text.empty() ? "with " : ", or with ") + profile.libraries;
    return text;
}

std::pair<std::string, std::string> ChangeProfile(const ProfileChange& change) {
    if (change.name.empty()) throw WrongUse("A game's name has at least one character.");
    std::pair<std::string, std::string> stored = Stored(change.key, change.value);
    const ChangeStep step(stored.first + " " + stored.second + " for '" + change.name + "'");
    ChangeUsers([&](GameProfiles& users) { OwnProfile(users, change).values[stored.first] = stored.second; });
    return stored;
}

bool ResetProfile(const std::string& name) {
    const GameProfiles shipped = Shipped();
    const ChangeStep step("the reset of '" + name + "'");
    ChangeUsers([&](GameProfiles& users) {
        const auto found = orb3::FindGameProfile(users, name);
        if (found != users.end())
            users.erase(found);
        else
            FindProfile(shipped, name);
    });
    return HasName(shipped, name);
}

}  // namespace tool
