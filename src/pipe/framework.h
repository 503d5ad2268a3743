#pragma once

// One audio output API and its devices. The server builds its frameworks at the start of a run; the set-up of
// the output looks up what a layout names. The list of devices is locked inside, for use from any thread.

#include <cstdint>
#include <string>

#include "pipe/device.h"
#include "slib/smartptr.h"

namespace audiopipe {

class Framework {
public:
    Framework() = default;
    virtual ~Framework() = default;
    Framework(const Framework&) = delete;
    Framework& operator=(const Framework&) = delete;

    /// True where the API exists on this machine.
    virtual bool IsAvailable() = 0;
    /// The framework's name in stored layouts: here the letters and digits of GetName.
    virtual std::string GetId();
    /// For people.
    virtual std::string GetName() = 0;

    virtual std::uint32_t GetDeviceCount() = 0;
    /// `index` is below GetDeviceCount.
    virtual DevicePtr GetDevice(std::uint32_t index) = 0;
};

using FrameworkPtr = slib::SmartPtr<Framework, slib::ThreadsafeCounter>;

}  // namespace audiopipe
