#pragma once

// An output of a sound server as a device of this machine. Made by the sound system.

#include "platform/directsound.h"
#include "platform/serverconnection.h"
#include "slib/log.h"

namespace platform {

/// A device that reports `speakerSetting`, on `connection`; null for an output that isn't there yet. Its
/// rings outlive a server that goes away, unheard until `reconnect` finds one that has the output, which is
/// logged to `log`, borrowed for the life of the device and its rings.
SoundDevicePtr MakeServerDevice(std::uint32_t speakerSetting, ServerConnectionPtr connection,
                                OutputWatch watch, ServerConnector reconnect, slib::Log* log);

}  // namespace platform
