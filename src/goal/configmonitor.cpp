#include "goal/configmonitor.h"

#include <exception>
#include <optional>
#include <utility>

#include "orb3core/store/configstore.h"
#include "slib/sxml.h"

namespace goal {
namespace {

constexpr std::uint32_t pauseMilliseconds = 2000;

std::optional<orb3::Configuration> ConfigurationInForce(orb3::SharedConfiguration& shared) {
    const slib::Lock lock(shared.configurationMutex);
    if (!shared.isConfigurationLoaded) return std::nullopt;
    return shared.configuration;
}

orb3::Configuration ReadStoredConfiguration() {
    orb3::Configuration stored;
    stored.Read(slib::SXMLNode(orb3::ReadSpeakerConfiguration()));
    return stored;
}

// Documents hold fewer digits than numbers do, so what the server stored comes back a little different.
bool IsInForce(const orb3::Configuration& stored, const orb3::Configuration& inForce) {
    if (stored == inForce) return true;
    orb3::Configuration asStored;
    asStored.Read(*inForce.CreateNode());
    return stored == asStored;
}

}  // namespace

ConfigMonitor::ConfigMonitor(orb3::SharedConfiguration& shared, RecordingDesk& recordings)
    : Thread("ConfigMonitor", Priority::BelowNormal), shared(shared), recordings(recordings) {
    Start();
}

ConfigMonitor::~ConfigMonitor() {
    if (!RequestStop()) return;
    stopping.Post();
    AwaitEnd();
}

void ConfigMonitor::Run() {
    while (!IsStopRequested()) {
        try {
            recordings.Ask(FindRequest());
            CheckConfiguration(shared);
        } catch (const std::exception&) {  // the next check may fare better
        }
        static_cast<void>(stopping.WaitFor(pauseMilliseconds));  // the loop asks why it ended
    }
}

// The store is read without a lock, since that can take its time; so what is in force may change meanwhile.
void ConfigMonitor::CheckConfiguration(orb3::SharedConfiguration& shared) {
    const std::optional<orb3::Configuration> before = ConfigurationInForce(shared);
    if (!before) return;
    orb3::Configuration stored = ReadStoredConfiguration();
    const slib::Lock lock(shared.configurationMutex);
    if (!shared.isConfigurationLoaded || IsInForce(shared.InForce(stored), shared.configuration)) return;
    if (!(*before == shared.configuration)) return;  // the next check decides
    shared.pendingConfiguration = std::move(stored);
    shared.isRestartRequested = true;
}

}  // namespace goal
