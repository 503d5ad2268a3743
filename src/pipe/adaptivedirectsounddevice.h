#pragma once

// An output device, opened at its first use, once: a device that couldn't be opened stays so. Any thread.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "pipe/device.h"
#include "platform/soundsystem.h"
#include "slib/mutex.h"

namespace audiopipe::directsound {

/// All operations throw DirectSoundException when the device can't be opened, or couldn't earlier.
class AdaptiveDirectSoundDevice : public Device {
public:
    /// `guid` is the driver's identifier, none for the primary driver; `module` the driver's module.
    /// `outputs` are the names of all channels that the device has, in place of those that its speaker
    /// setting has.
    AdaptiveDirectSoundDevice(std::shared_ptr<platform::SoundSystem> system, std::optional<std::string> guid,
                              const std::string& name, std::string module, std::uint32_t index,
                              std::vector<std::string> outputs = {});

    bool IsEmulated() override;
    std::uint32_t GetPlaybackChannelCount() override;
    std::string GetPlaybackChannelName(std::uint32_t channel) override;
    slib::StandardFormat GetStandardFormat() override;
    std::uint32_t GetRecordingChannelCount() override;
    std::string GetRecordingChannelName(std::uint32_t channel) override;
    bool IsSampleRateSupported(double rate) override;
    std::unique_ptr<Pipe> OpenPipe(slib::Log* log, double rate, std::uint32_t bufferLength,
                                   std::uint32_t bufferCount, const std::vector<bool>& playback,
                                   const std::vector<bool>& recording) override;

    const std::optional<std::string> guid;
    const std::string module;

private:
    void EnsureInitialised();
    void Initialise() SLIB_REQUIRES(initialisationMutex);
    void NoteSpeakers() SLIB_REQUIRES(initialisationMutex);

    const std::shared_ptr<platform::SoundSystem> system;
    const std::vector<std::string> outputs;  // empty for those of the speaker setting

    slib::Mutex initialisationMutex;
    bool isInitialised SLIB_GUARDED_BY(initialisationMutex) = false;
    bool initialisationFailed SLIB_GUARDED_BY(initialisationMutex) = false;
    // Written under initialisationMutex, once; whoever has passed EnsureInitialised reads them without.
    platform::SoundDevicePtr directSound;
    platform::DSCAPS caps;
    std::uint32_t speakerConfig = 0;
    std::vector<std::string> channelNames;
    slib::StandardFormat standardFormat = slib::StandardFormat::Unknown;
    std::uint32_t channelMask = 0;
};

}  // namespace audiopipe::directsound
