#include "app/goaldll/profileinforce.h"

#include <exception>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "orb3core/store/configstore.h"
#include "platform/runningprogram.h"
#include "platform/storelocation.h"
#include "slib/text.h"

namespace goal {
namespace {

// One of the two documents; without profiles, and a line in the log, where it can't be used.
template <typename Read>
std::vector<orb3::GameProfile> ReadOrExplain(const Read& read, const char* place, slib::Log& log) {
    try {
        return read();
    } catch (const std::exception& failure) {
        log.Write(std::string("The profiles of games in ") + place + " can't be used: " + failure.what(),
                  true);
        return {};
    }
}

std::vector<orb3::GameProfile> AllProfiles(slib::Log& log) {
    const auto shipped = ReadOrExplain([] { return orb3::ReadShippedGameProfiles(platform::LoadedTree()); },
                                       "games.conf", log);
    const auto users = ReadOrExplain(
        [] {
            const orb3::ConfigStore store(orb3::storeRoot, orb3::ConfigStore::Scope::User);
            return orb3::ParseGameProfiles(store.Read(orb3::gameProfilesKey, ""));
        },
        "the store", log);
    return orb3::JoinGameProfiles(shipped, users);
}

}  // namespace

void ProfileInForce::Take(orb3::SharedConfiguration& configuration, slib::Log& log) noexcept {
    isTaken = true;
    try {
        const orb3::GameIdentity game{platform::RunningProgramNames(), platform::LoadedLibraryNames()};
        if (const auto profile = orb3::FindGameProfileFor(AllProfiles(log), game))
            TakeProfile(*profile, configuration, log);
    } catch (const std::exception&) {  // no memory: the game goes on without
    }
}

void ProfileInForce::TakeProfile(const orb3::GameProfile& profile, orb3::SharedConfiguration& configuration,
                                 slib::Log& log) {
    std::vector<orb3::SettingOverride> overrides;
    for (const auto& [word, value] : profile.values) {
        const orb3::Setting* const setting = orb3::FindGameSetting(word);
        if (const std::optional<GameSwitch> which = orb3::FindGameSwitch(word))
            Set(*which, slib::EqualIgnoringCase(value, "True"));
        else if (setting != nullptr)
            overrides.push_back({setting, value});
        else
            log.Write(
                "The profile '" + profile.name + "' names '" + word + "', which is no switch and no setting.",
                true);
    }
    name = profile.name;
    changes = orb3::DescribeChanges(profile);
    status.SetProfile(name, changes);
    log.Write(
        "The profile '" + name + "' is in force: " + (changes.empty() ? "nothing is changed" : changes) + ".",
        false);
    try {
        const slib::Lock lock(configuration.configurationMutex);
        configuration.Override(std::move(overrides));
    } catch (const std::exception& failure) {
        log.Write("The settings of the profile '" + name + "' can't be used: " + failure.what(), true);
    }
}

}  // namespace goal
