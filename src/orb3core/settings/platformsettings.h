#pragma once

// The machine's own settings of the sound output and input, as the store holds them. Read by the server when
// it sets its output up, by calls that record, and by the programs that show them.

#include <map>
#include <string>

#include <string_view>

#include "platform/platformsettings.h"
#include "slib/log.h"

namespace orb3 {

/// A "WaveFilePace" of programs that have their blocks rendered one by one (goal/blockgate.h), which no
/// person can set.
inline constexpr std::string_view unpaced = "Unpaced";

/// What is stored in the user's scope under "/Platform": "Output" (a text of choiceTexts),
/// "WaveFile" (a path), "SpeakerSetting" (the text of a standard format) and "SpeakerSettings" (such texts
/// for single outputs). What is missing or empty has its default. A value that isn't one of these, or a WAV
/// file without a path, is an error in `log` and counts as missing.
platform::PlatformSettings ReadPlatformSettings(slib::Log& log);

/// The same of "Input" and "InputFile".
platform::InputSettings ReadInputSettings(slib::Log& log);
/// The key of the speakers of single outputs: "OUTPUT=Surround 5.1; OUTPUT=Quad", where OUTPUT is the key of
/// an output (platform/outputnames.h).
inline constexpr const char* speakerSettingsKey = "/Platform/SpeakerSettings";

/// That text in parts, by output, unchecked, and the text of such parts.
std::map<std::string, std::string> SplitSpeakerSettings(const std::string& text);
std::string JoinSpeakerSettings(const std::map<std::string, std::string>& parts);

}  // namespace orb3
