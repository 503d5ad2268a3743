#include "tools/manage/devicespeakers.h"

#include <map>

#include "orb3core/settings/platformsettings.h"
#include "tools/manage/history.h"
#include "tools/manage/machine.h"
#include "tools/manage/storedvalues.h"
#include "tools/support/wronguse.h"

namespace tool {

void CheckIsOfDevices(const orb3::Setting& setting) {
    if (setting.attribute != "SpeakerSetting")
        throw WrongUse("--device goes with SpeakerSetting alone, not with " + setting.Name() + ".");
}

OwnDevice DeviceOfOwn(const std::string& device) {
    ErrorsToTerminal log;
    const orb3::Frameworks frameworks = MakeFrameworks(log);
    const Output output = FindOutput(frameworks, device);
    if (output.device->fullId.empty())
        throw WrongUse("'" + output.device->name +
                       "' is whichever output is the default. Name that output, or leave --device out.");
    if (output.framework->GetId() != frameworks.front()->GetId())
        throw WrongUse(
            "'" + output.device->name +
            "' plays its outputs as they are. 'tessarune-config select LAYOUT --device DEVICE' says "
            "what is connected to them.");
    return {output.device->name, output.device->fullId};
}

std::string SpeakersOf(const OwnDevice& device) {
    const auto settings = orb3::SplitSpeakerSettings(ReadValue(orb3::speakerSettingsKey));
    const auto found = settings.find(device.key);
    return found == settings.end() ? "Auto" : found->second;
}

void StoreSpeakersOf(const OwnDevice& device, const std::string& speakers) {
    const ChangeStep step("the speakers of '" + device.name + "'");
    ReplaceValue(orb3::speakerSettingsKey, [&](const std::string& stored) {
        std::map<std::string, std::string> settings = orb3::SplitSpeakerSettings(stored);
        if (speakers.empty())
            settings.erase(device.key);
        else
            settings[device.key] = speakers;
        return orb3::JoinSpeakerSettings(settings);
    });
}

}  // namespace tool
