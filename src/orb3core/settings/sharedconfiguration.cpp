#include "orb3core/settings/sharedconfiguration.h"

#include <exception>
#include <string>
#include <utility>

#include "orb3core/settings/documentchange.h"
#include "orb3core/store/configstore.h"
#include "slib/exception.h"
#include "slib/sxml.h"

namespace orb3 {
namespace {

bool HasReadableDocument() {
    try {
        Configuration().Read(slib::SXMLNode(ReadSpeakerConfiguration()));
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

}  // namespace

SharedConfiguration::SharedConfiguration(slib::Log* log, Autoselect autoselect)
    : log(log), autoselect(std::move(autoselect)) {}

void SharedConfiguration::LoadConfiguration() {
    if (!ReadDocument()) autoselect.atLast(configuration.goalConfig, log);
    TakeOverrides();
    isConfigurationLoaded = true;
}

void SharedConfiguration::Override(std::vector<SettingOverride> settings) {
    Configuration tried;
    for (const SettingOverride& row : settings)
        TakeSetting(*row.setting, row.value, tried);
    if (isConfigurationLoaded || areDefaultsTaken) configuration = AsStored();
    overrides = std::move(settings);
    if (isConfigurationLoaded || areDefaultsTaken) TakeOverrides();
}

Configuration SharedConfiguration::InForce(Configuration stored) const {
    for (const SettingOverride& row : overrides)
        TakeSetting(*row.setting, row.value, stored);
    return stored;
}

// Of a configuration as it is stored.
void SharedConfiguration::TakeOverrides() {
    overridden.clear();
    overridden.reserve(overrides.size());
    for (const SettingOverride& row : overrides)
        overridden.push_back(SettingText(*row.setting, configuration));
    configuration = InForce(std::move(configuration));
}

Configuration SharedConfiguration::AsStored() const {
    Configuration stored = configuration;
    for (std::size_t i = 0; i < overridden.size(); ++i)
        TakeSetting(*overrides[i].setting, overridden[i], stored);
    return stored;
}

Configuration SharedConfiguration::ReadForStart() {
    const slib::Lock lock(configurationMutex);
    if (!isConfigurationLoaded) {
        isChoiceOpen = !ReadDocument();
        if (isChoiceOpen) autoselect.atFirst(configuration.goalConfig);
        TakeOverrides();
        isConfigurationLoaded = true;
    }
    return configuration;
}

bool SharedConfiguration::IsChoiceOpen() {
    const slib::Lock lock(configurationMutex);
    return isChoiceOpen;
}

void SharedConfiguration::CompleteChoice() {
    GoalConfig chosen;
    {
        const slib::Lock lock(configurationMutex);
        chosen.sound = AsStored().goalConfig.sound;
    }
    autoselect.atLast(chosen, log);
    const slib::Lock lock(configurationMutex);
    const bool isStored = std::exchange(isStorePending, false);
    if (!std::exchange(isChoiceOpen, false) || isRestartRequested || HasReadableDocument()) return;
    const Configuration before = configuration;
    configuration.goalConfig = chosen;
    TakeOverrides();
    if (isStored) StoreInForce();
    if (configuration == before) return;
    pendingConfiguration = AsStored();
    configuration = before;
    isRestartRequested = true;
}

// False, with the defaults, where there is no document that can be used.
bool SharedConfiguration::ReadDocument() {
    mayStore = areDefaultsTaken = true;
    std::string text;
    try {
        text = ReadSpeakerConfiguration();
    } catch (const slib::BadDataException&) {
        // A first run, which has nothing stored yet.
        configuration.Reset();
        return false;
    } catch (const std::exception& exception) {
        TakeDefaults(std::string("Configuration could not be read: ") + exception.what());
        return false;
    }
    try {
        configuration.Read(slib::SXMLNode(text));
        areDefaultsTaken = false;
    } catch (const std::exception& exception) {
        TakeDefaults(std::string("Configuration was not valid: ") + exception.what());
    }
    return !areDefaultsTaken;
}

// Defaults are stored where there is nothing, and nowhere else. The same problem again is no news.
void SharedConfiguration::TakeDefaults(const std::string& problem) {
    mayStore = false;
    configuration.Reset();
    if (std::exchange(lastProblem, problem) != problem) log->Write(problem, true);
}

void SharedConfiguration::StoreConfiguration(const Configuration& newConfiguration) {
    const slib::Lock lock(configurationMutex);
    configuration = newConfiguration;
    isConfigurationLoaded = true;
    isStorePending = isChoiceOpen;
    if (!isChoiceOpen) StoreInForce();
}

void SharedConfiguration::StoreInForce() {
    if (!mayStore) return;
    const std::string text = AsStored().CreateNode()->ToString(slib::SXMLNode::Style::Compact);
    bool isKept = false;
    const ConfigStore store(storeRoot, ConfigStore::Scope::User);
    store.Update([&](OpenStore& open) { isKept = ReplaceDocument(open, text); });
    if (isKept) log->Write(keptText, false);
}

bool SharedConfiguration::MayStore() {
    const slib::Lock lock(configurationMutex);
    return mayStore;
}

void SharedConfiguration::TakePending() {
    configuration = pendingConfiguration;
    TakeOverrides();
    ++generation;
    isConfigurationLoaded = true;
    isRestartRequested = isChoiceOpen = false;
    mayStore = true;
}

void SharedConfiguration::Unload() {
    // What was moved out of holds no memory, unlike the defaults.
    const Configuration spent = std::move(configuration);
    const Configuration spentPending = std::move(pendingConfiguration);
    isConfigurationLoaded = areDefaultsTaken = isChoiceOpen = false;
    lastProblem.clear();
}

}  // namespace orb3
