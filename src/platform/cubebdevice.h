#pragma once

// The outputs of this machine through the cubeb library: PulseAudio, JACK, ALSA, the first that answers. The
// library is loaded at the first use, and no call waits more than two seconds for a server. Its threads end
// with the last object that uses the connection; in a child that the game forked there is no connection, and
// every operation returns so.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/directsound.h"
#include "slib/log.h"

namespace platform {

/// A connection to the sound server, or to the sound cards where there is none. Any thread, one at a time.
class CubebConnection {
public:
    struct Device {
        const void* handle = nullptr;  ///< the library's, of this connection
        std::string identifier;
        std::string description;
        std::uint32_t channels = 0;
        bool isDefault = false;
    };

    virtual ~CubebConnection() = default;

    /// The outputs that are switched on; empty when the connection is lost, or there is none.
    virtual std::vector<Device> Devices() = 0;
    /// The name of the system behind it.
    virtual std::string Module() = 0;
    /// Opens one of Devices, null for the user's default. `speakerSetting` is what it is to report. Its rings
    /// outlive a server that goes away, unheard until it is back (ReturningBuffer), which is logged to `log`,
    /// borrowed for the life of the device and its rings.
    virtual SoundDevicePtr Open(const Device* device, std::uint32_t speakerSetting, slib::Log* log) = 0;
};

/// Null when nothing answers. A missing library is logged to `log`, which isn't kept.
std::shared_ptr<CubebConnection> ConnectCubeb(slib::Log* log);

/// The user's default output where nothing answers yet: its rings are heard as soon as something does. Null
/// when the library is missing. `log` as of CubebConnection::Open.
SoundDevicePtr AwaitCubebDevice(std::uint32_t speakerSetting, slib::Log* log);

}  // namespace platform
