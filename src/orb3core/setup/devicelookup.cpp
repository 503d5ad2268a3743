#include "orb3core/setup/devicelookup.h"

#include "orb3core/speakers/standardchannels.h"

namespace orb3 {

audiopipe::FrameworkPtr FindFramework(const Frameworks& frameworks, const std::string& id) {
    for (const audiopipe::FrameworkPtr& framework : frameworks)
        if (framework->GetId() == id) return framework;
    return {};
}

audiopipe::DevicePtr FindDevice(audiopipe::Framework& framework, const std::string& id) {
    audiopipe::DevicePtr byOtherId;
    const std::uint32_t count = framework.GetDeviceCount();
    for (std::uint32_t index = 0; index < count; ++index) {
        audiopipe::DevicePtr device = framework.GetDevice(index);
        if (device->id == id) return device;
        const bool isMeant = device->fullId == id || device->plainId == id;
        if (isMeant && !id.empty() && !byOtherId) byOtherId = device;
    }
    return byOtherId;
}

std::vector<std::string> PlaybackChannelNames(audiopipe::Device& device) {
    std::vector<std::string> names;
    const std::uint32_t count = device.GetPlaybackChannelCount();
    for (std::uint32_t channel = 0; channel < count; ++channel)
        names.push_back(device.GetPlaybackChannelName(channel));
    return names;
}

// Exact names come first for the sake of a device whose channels differ only in parentheses: "Out (1)",
// "Out (2)".
std::optional<std::uint32_t> FindChannel(const std::vector<std::string>& names, const std::string& wanted) {
    std::optional<std::uint32_t> exact, similar;
    for (std::uint32_t channel = 0; channel < names.size(); ++channel) {
        if (names[channel] == wanted) exact = channel;
        if (NamesMatch(names[channel], wanted)) similar = channel;
    }
    return exact ? exact : similar;
}

}  // namespace orb3
