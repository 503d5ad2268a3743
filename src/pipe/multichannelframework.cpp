#include "pipe/multichannelframework.h"

#include <utility>

#include "pipe/adaptivedirectsounddevice.h"
#include "platform/outputnames.h"
#include "slib/exception.h"
#include "slib/text.h"

namespace audiopipe {

MultichannelFramework::MultichannelFramework(std::shared_ptr<platform::SoundSystem> system)
    : system(std::move(system)) {}

std::uint32_t MultichannelFramework::GetDeviceCount() {
    const slib::Lock lock(listMutex);
    return static_cast<std::uint32_t>(Devices().size());
}

DevicePtr MultichannelFramework::GetDevice(std::uint32_t index) {
    const slib::Lock lock(listMutex);
    if (index >= Devices().size())
        throw slib::BadParameterException("There is no output device " + std::to_string(index) +
                                          " of many channels.");
    return Devices()[index];
}

// The count of the channels is part of a device's name, and so of its id: a layout that was connected to
// another count isn't connected any more.
const std::vector<DevicePtr>& MultichannelFramework::Devices() {
    if (std::exchange(isListed, true)) return devices;
    for (platform::SoundSystem::WideOutput& output : system->WideOutputs()) {
        const std::string count = ", " + std::to_string(output.channels.size()) + " outputs";
        const std::string name = output.description + count;
        const std::string fullName = platform::FullName(output.description, output.identifier) + count;
        const std::string plainName = platform::PlainName(output.description, output.identifier) + count;
        const auto index = static_cast<std::uint32_t>(devices.size());
        devices.emplace_back(new directsound::AdaptiveDirectSoundDevice(
            system, output.identifier, name, output.module, index, std::move(output.channels)));
        devices.back()->fullId = slib::KeepAlphanumeric(fullName);
        devices.back()->plainId = slib::KeepAlphanumeric(plainName);
    }
    return devices;
}

}  // namespace audiopipe
