#pragma once

// The output without sound: a ring whose play cursor follows the monotonic clock. It keeps a game that has no
// sound hardware at the pace of one that has.

#include "platform/directsound.h"

namespace platform {

/// `speakerSetting` is one of the DSSPEAKER_ constants. Throws std::bad_alloc.
SoundDevicePtr MakeSilentDevice(std::uint32_t speakerSetting);

}  // namespace platform
