#pragma once

// The output framework of the system: the devices of one machine, listed at the first call and the same from
// then on. Built by the server for a run of its loop; may be used from any thread.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "pipe/framework.h"
#include "platform/soundsystem.h"
#include "slib/log.h"
#include "slib/mutex.h"

namespace audiopipe::directsound {

/// There is at most one in the process, but for those that say that they are one of several.
class AdaptiveDirectSoundFramework : public Framework {
public:
    enum class Instances { One, Several };

    /// `log` is borrowed and outlives the framework. The only one throws DirectSoundException while there is
    /// another only one.
    AdaptiveDirectSoundFramework(slib::Log* log, std::shared_ptr<platform::SoundSystem> system,
                                 Instances instances = Instances::One);
    ~AdaptiveDirectSoundFramework() override;

    bool IsAvailable() override;
    std::string GetId() override;
    std::string GetName() override;
    /// Throws DirectSoundException when the devices can't be listed; the next call tries again.
    std::uint32_t GetDeviceCount() override;
    /// Throws slib::BadParameterException for an index that isn't below GetDeviceCount.
    DevicePtr GetDevice(std::uint32_t index) override;

    slib::Log* const log;  ///< what it was built with

private:
    void EnsureEnumerated() SLIB_REQUIRES(listMutex);
    // The system calls back while EnsureEnumerated holds listMutex, on a thread of its own as it may be.
    void Add(const char* identifier, const char* description, const char* module) SLIB_UNCHECKED_LOCKS;

    const std::shared_ptr<platform::SoundSystem> system;
    const Instances instances;

    slib::Mutex listMutex;
    bool isEnumerated SLIB_GUARDED_BY(listMutex) = false;
    std::vector<DevicePtr> devices SLIB_GUARDED_BY(listMutex);

    slib::Mutex addMutex;  // the adding, on whatever thread the system calls back
    std::uint32_t nextIndex SLIB_GUARDED_BY(addMutex) = 0;
};

}  // namespace audiopipe::directsound
