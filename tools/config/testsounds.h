#pragma once

// What a speaker plays while it is tested. One thread.

#include "orb3core/speakers/speakers.h"
#include "tools/sounds/sound.h"

namespace tool {

/// The voice that names the speaker's place; noise where there is none, or with `isNoise`.
Sound SoundFor(const orb3::spk::Speaker& speaker, bool isNoise);

}  // namespace tool
