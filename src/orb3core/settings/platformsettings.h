#pragma once

// The machine's own settings of the sound output, as the store holds them. Read by the server when it sets
// its output up, and by the programs that show them.

#include <string_view>

#include "platform/platformsettings.h"
#include "slib/log.h"

namespace orb3 {

/// A "WaveFilePace" of programs that have their blocks rendered one by one (goal/blockgate.h), which no
/// person can set.
inline constexpr std::string_view unpaced = "Unpaced";

/// What is stored in the user's scope under "/Platform": "Output" (a text of choiceTexts),
/// "WaveFile" (a path) and "SpeakerSetting" (the text of a standard format). What is missing or empty has its
/// default. A value that isn't one of these, or a WAV file without a path, is an error in `log` and counts as
/// missing.
platform::PlatformSettings ReadPlatformSettings(slib::Log& log);

}  // namespace orb3
