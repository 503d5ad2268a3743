#pragma once

// The outputs of this machine that have more channels than the system's speaker settings, each with all of
// them and by the names that its server has for them. Beside the framework of the system, which automatic
// selection looks at, and which has the same outputs by their speaker setting: a layout is connected here by
// choice alone. The devices are listed at the first call and the same from then on. Any thread.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "pipe/framework.h"
#include "platform/soundsystem.h"
#include "slib/mutex.h"

namespace audiopipe {

class MultichannelFramework : public Framework {
public:
    explicit MultichannelFramework(std::shared_ptr<platform::SoundSystem> system);

    bool IsAvailable() override { return true; }
    std::string GetName() override { return "Multichannel"; }
    std::uint32_t GetDeviceCount() override;
    /// Throws slib::BadParameterException for an index that isn't below GetDeviceCount.
    DevicePtr GetDevice(std::uint32_t index) override;

private:
    const std::vector<DevicePtr>& Devices() SLIB_REQUIRES(listMutex);

    const std::shared_ptr<platform::SoundSystem> system;

    slib::Mutex listMutex;
    bool isListed SLIB_GUARDED_BY(listMutex) = false;
    std::vector<DevicePtr> devices SLIB_GUARDED_BY(listMutex);
};

}  // namespace audiopipe
