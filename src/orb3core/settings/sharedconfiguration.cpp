#include "orb3core/settings/sharedconfiguration.h"

#include <exception>
#include <string>
#include <utility>

#include "orb3core/store/configstore.h"
#include "slib/sxml.h"

namespace orb3 {

SharedConfiguration::SharedConfiguration(slib::Log* log, Autoselect autoselect)
    : log(log), autoselect(std::move(autoselect)) {}

void SharedConfiguration::LoadConfiguration() {
    std::string text;
    try {
        text = ReadSpeakerConfiguration();
    } catch (const std::exception&) {
        // Usually a first run, which has nothing stored yet.
        return TakeDefaults();
    }
    try {
        configuration.Read(slib::SXMLNode(text));
        isConfigurationLoaded = true;
    } catch (const std::exception& exception) {
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
    WriteSpeakerConfiguration(configuration.CreateNode()->ToString(slib::SXMLNode::Style::Compact));
}

void SharedConfiguration::Unload() {
    // What was moved out of holds no memory, unlike the defaults.
    const Configuration spent = std::move(configuration);
    const Configuration spentPending = std::move(pendingConfiguration);
    isConfigurationLoaded = false;
}

}  // namespace orb3
