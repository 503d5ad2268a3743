#include "orb3core/settings/sharedconfiguration.h"

#include <exception>
#include <string>
#include <utility>

#include "orb3core/settings/documentchange.h"
#include "orb3core/store/configstore.h"
#include "slib/exception.h"
#include "slib/sxml.h"

namespace orb3 {

SharedConfiguration::SharedConfiguration(slib::Log* log, Autoselect autoselect)
    : log(log), autoselect(std::move(autoselect)) {}

// Defaults are stored where there is nothing, and nowhere else.
void SharedConfiguration::LoadConfiguration() {
    std::string text;
    mayStore = true;
    try {
        text = ReadSpeakerConfiguration();
    } catch (const slib::BadDataException&) {
        // A first run, which has nothing stored yet.
        return TakeDefaults();
    } catch (const std::exception& exception) {
        mayStore = false;
        log->Write(std::string("Configuration could not be read: ") + exception.what(), true);
        return TakeDefaults();
    }
    try {
        configuration.Read(slib::SXMLNode(text));
        isConfigurationLoaded = true;
    } catch (const std::exception& exception) {
        mayStore = false;
        log->Write(std::string("Configuration was not valid: ") + exception.what(), true);
        TakeDefaults();
    }
}

void SharedConfiguration::TakeDefaults() {
    configuration.Reset();
    autoselect(configuration.goalConfig, log);
    isConfigurationLoaded = true;
}

void SharedConfiguration::StoreConfiguration(const Configuration& newConfiguration) {
    const slib::Lock lock(configurationMutex);
    configuration = newConfiguration;
    isConfigurationLoaded = true;
    if (!mayStore) return;
    const std::string text = configuration.CreateNode()->ToString(slib::SXMLNode::Style::Compact);
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
    isConfigurationLoaded = true;
    isRestartRequested = false;
    mayStore = true;
}

void SharedConfiguration::Unload() {
    // What was moved out of holds no memory, unlike the defaults.
    const Configuration spent = std::move(configuration);
    const Configuration spentPending = std::move(pendingConfiguration);
    isConfigurationLoaded = false;
}

}  // namespace orb3
