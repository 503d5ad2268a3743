#pragma once

// The voices that say where they stand, recorded for checking speakers; Debian has them in alsa-utils.
// Read-only; any thread.

#include <optional>
#include <string>
#include <vector>

#include "tools/sounds/sound.h"

namespace tool {

struct Voice {
    std::string file;    ///< without its end: "Rear_Left"
    std::string place;   ///< for people: "rear left"
    double azimuth = 0;  ///< degrees, positive to the left, where a layout of eight has this speaker
};

/// Where alsa-utils has them.
inline constexpr const char* voiceFolder = "/usr/share/sounds/alsa";

/// All eight, from the front by the left to the back and then by the right.
const std::vector<Voice>& Voices();

/// Nothing where `folder` doesn't have it. Throws as ReadSoundFile.
[[nodiscard]] std::optional<Sound> FindRecording(const Voice& voice, const std::string& folder);

}  // namespace tool
