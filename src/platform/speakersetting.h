#pragma once

// Speaker settings as a sound device reports them. Used when a device is opened.

#include <cstdint>
#include <string_view>

#include "slib/standardformats.h"

namespace platform {

/// The DSSPEAKER_ constant for `format`; DSSPEAKER_DIRECTOUT for Unknown.
std::uint32_t SpeakerSettingOf(slib::StandardFormat format);

/// The DSSPEAKER_ constant for a device of which only the number of channels and the name are known: the
/// largest setting that has no more channels. Two channels of what calls itself headphones or a headset are
/// headphones.
std::uint32_t GuessSpeakerSetting(std::uint32_t channelCount, std::string_view deviceName);

}  // namespace platform
