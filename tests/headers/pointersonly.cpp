// The headers as a game includes them that loads the library by hand: its own variables have the names of the
// calls, so a prototype that is declared all the same keeps this from building.

#define AL_NO_PROTOTYPES
#define ALC_NO_PROTOTYPES
#undef AL_ALEXT_PROTOTYPES

// The order matters.
// clang-format off
#include "AL/efx.h"
#include "AL/al.h"
#include "AL/tessarune.h"
#include "AL/alc.h"
// clang-format on

[[maybe_unused]] static LPALGENSOURCES alGenSources = nullptr;
[[maybe_unused]] static LPALCOPENDEVICE alcOpenDevice = nullptr;
[[maybe_unused]] static LPALGENEFFECTS alGenEffects = nullptr;
[[maybe_unused]] static LPTSRGETVERSION tsrGetVersion = nullptr;
