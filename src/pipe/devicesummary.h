#pragma once

// What devices and pipes have in common: a name, a stable id and the lists of their channels. Asked for at
// set-up, never inside a block.

#include <cstdint>
#include <string>

#include "slib/standardformats.h"

namespace audiopipe {

class DeviceSummary {
public:
    std::string name;         ///< for people
    std::string id;           ///< for stored layouts
    std::uint32_t index = 0;  ///< in the framework's list of devices, from 0
    /// Other ids by which what is stored of the device is found: one with the driver's own name for it, which
    /// is right whichever devices there are, and one without, which several may have. Empty where there are
    /// none.
    std::string fullId, plainId;

    /// The id is what `name` has of letters and digits, or "DeviceNU" and the number of the device, from 1,
    /// where fewer than four of them are left.
    DeviceSummary(std::string name, std::uint32_t index);
    virtual ~DeviceSummary() = default;
    DeviceSummary(const DeviceSummary&) = delete;
    DeviceSummary& operator=(const DeviceSummary&) = delete;

    /// True when the output runs through a software emulation of its driver.
    virtual bool IsEmulated() = 0;

    virtual std::uint32_t GetPlaybackChannelCount() = 0;
    /// `channel` is below GetPlaybackChannelCount.
    virtual std::string GetPlaybackChannelName(std::uint32_t channel) = 0;

    /// The user's speaker setting.
    virtual slib::StandardFormat GetStandardFormat() = 0;

    virtual std::uint32_t GetRecordingChannelCount() = 0;
    /// `channel` is below GetRecordingChannelCount.
    virtual std::string GetRecordingChannelName(std::uint32_t channel) = 0;

    // The rest is for programs that let people choose a device. Ours ask by index and show the names above.

    /// A text about the playback side for people; empty here.
    virtual std::string GetPlaybackDescription();
    /// The same about the recording side.
    virtual std::string GetRecordingDescription();

    /// The first playback channel of exactly this name. Throws slib::BadParameterException when there is
    /// none.
    virtual std::uint32_t GetPlaybackChannelIndex(const std::string& channelName);
    /// The first recording channel of exactly this name. Throws slib::BadParameterException when there is
    /// none.
    virtual std::uint32_t GetRecordingChannelIndex(const std::string& channelName);
};

}  // namespace audiopipe
