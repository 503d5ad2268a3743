// The headers in C++, last one first, with the calls declared.

#define AL_ALEXT_PROTOTYPES 1

// The order matters.
// clang-format off
#include "AL/efx-presets.h"
#include "AL/alext.h"
#include "AL/tessarune.h"
#include "AL/efx.h"
#include "AL/alc.h"
#include "AL/al.h"
// clang-format on

#include <limits>
#include <type_traits>

// A game was built against these sizes, whatever it was built with.
static_assert(sizeof(ALboolean) == 1 && sizeof(ALchar) == 1 && sizeof(ALbyte) == 1 && sizeof(ALubyte) == 1);
static_assert(sizeof(ALshort) == 2 && sizeof(ALushort) == 2);
static_assert(sizeof(ALint) == 4 && sizeof(ALuint) == 4 && sizeof(ALsizei) == 4 && sizeof(ALenum) == 4);
static_assert(sizeof(ALfloat) == 4 && sizeof(ALdouble) == 8);
static_assert(std::is_signed_v<ALint> && std::is_signed_v<ALsizei> && std::is_signed_v<ALenum>);
static_assert(std::is_unsigned_v<ALuint> && std::is_unsigned_v<ALCuint> && std::is_unsigned_v<ALubyte>);
static_assert(std::is_same_v<ALint, ALCint> && std::is_same_v<ALenum, ALCenum>);
static_assert(std::is_same_v<ALboolean, ALCboolean> && std::is_same_v<ALchar, ALCchar>);

// One call of each header against its pointer type, and against the type written out.
static_assert(std::is_same_v<decltype(&alGenSources), LPALGENSOURCES>);
static_assert(std::is_same_v<decltype(&alcCaptureOpenDevice), LPALCCAPTUREOPENDEVICE>);
static_assert(std::is_same_v<decltype(&alDeleteEffects), LPALDELETEEFFECTS>);
static_assert(std::is_same_v<decltype(&alRequestFoldbackStart), LPALREQUESTFOLDBACKSTART>);
static_assert(std::is_same_v<LPALBUFFERDATA, void (*)(unsigned, int, const void*, int, int)>);
static_assert(std::is_same_v<LPALSOURCEUNQUEUEBUFFERS, void (*)(unsigned, int, unsigned*)>);
static_assert(std::is_same_v<LPALCGETINTEGERV, void (*)(ALCdevice*, int, int, int*)>);
static_assert(std::is_same_v<LPALFOLDBACKCALLBACK, void (*)(int, int)>);

// Negative values stay one operand in an expression.
static_assert(2 * AL_INVALID == -2 && 1 - AL_CHORUS_MIN_PHASE == 181);
static_assert(AL_MIN_METERS_PER_UNIT == std::numeric_limits<float>::min());
static_assert(AL_MAX_METERS_PER_UNIT == std::numeric_limits<float>::max());
