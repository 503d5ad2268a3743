#pragma once

// Every call of the interface with the roles of its arguments, but for alcCreateContext, which would start a
// server. Used by the calls target, on its one thread.

#include <array>
#include <vector>

#include "callroles.h"

namespace calls {

// ---- Tokens ----

inline constexpr auto stateTokens = std::to_array<ALenum>({
    AL_DOPPLER_FACTOR,
    AL_DOPPLER_VELOCITY,
    AL_SPEED_OF_SOUND,
    AL_DISTANCE_MODEL,
    AL_EXTENSIONS,
});
inline constexpr auto textTokens = std::to_array<ALenum>({
    AL_VENDOR,
    AL_VERSION,
    AL_RENDERER,
    AL_EXTENSIONS,
    AL_NO_ERROR,
    AL_INVALID_NAME,
    AL_OUT_OF_MEMORY,
    0xA006,
});
inline constexpr auto distanceModels = std::to_array<ALenum>({
    AL_NONE,
    AL_INVERSE_DISTANCE,
    AL_LINEAR_DISTANCE_CLAMPED,
    AL_EXPONENT_DISTANCE_CLAMPED,
    AL_DISTANCE_MODEL,
    0xD007,
});
inline constexpr auto listenerTokens = std::to_array<ALenum>({
    AL_GAIN,
    AL_METERS_PER_UNIT,
    AL_POSITION,
    AL_VELOCITY,
    AL_ORIENTATION,
});
inline constexpr auto sourceTokens = std::to_array<ALenum>({
    AL_GAIN,
    AL_MIN_GAIN,
    AL_MAX_GAIN,
    AL_PITCH,
    AL_REFERENCE_DISTANCE,
    AL_ROLLOFF_FACTOR,
    AL_MAX_DISTANCE,
    AL_CONE_OUTER_GAIN,
    AL_CONE_INNER_ANGLE,
    AL_CONE_OUTER_ANGLE,
    AL_SOURCE_RADIUS,
    AL_AIR_ABSORPTION_FACTOR,
    AL_ROOM_ROLLOFF_FACTOR,
    AL_CONE_OUTER_GAINHF,
    AL_SEC_OFFSET,
    AL_SAMPLE_OFFSET,
    AL_BYTE_OFFSET,
    AL_POSITION,
    AL_VELOCITY,
    AL_DIRECTION,
    AL_ORIENTATION,
    AL_STEREO_ANGLES,
    AL_SOURCE_RELATIVE,
    AL_LOOPING,
    AL_BUFFER,
    AL_BUFFER,
    AL_SOURCE_STATE,
    AL_BUFFERS_QUEUED,
    AL_BUFFERS_PROCESSED,
    AL_SOURCE_TYPE,
    AL_DIRECT_FILTER,
    AL_AUXILIARY_SEND_FILTER,
    AL_DIRECT_FILTER_GAINHF_AUTO,
    AL_AUXILIARY_SEND_FILTER_GAIN_AUTO,
    AL_AUXILIARY_SEND_FILTER_GAINHF_AUTO,
});
inline constexpr auto sourceTriples = std::to_array<ALenum>({
    AL_POSITION,
    AL_VELOCITY,
    AL_DIRECTION,
    AL_AUXILIARY_SEND_FILTER,
    AL_ORIENTATION,
});
inline constexpr auto bufferTokens = std::to_array<ALenum>({AL_FREQUENCY, AL_BITS, AL_CHANNELS, AL_SIZE});
inline constexpr auto formats = std::to_array<ALenum>({
    AL_FORMAT_MONO16,
    AL_FORMAT_MONO16,
    AL_FORMAT_MONO16,
    AL_FORMAT_MONO16,
    AL_FORMAT_MONO8,
    AL_FORMAT_STEREO16,
    AL_FORMAT_MONO_IMA4,
    AL_FORMAT_STEREO_IMA4,
    AL_FORMAT_BFORMAT2D_8,
    AL_FORMAT_51CHN32,
    AL_FORMAT_MONO_FLOAT32,
    AL_FORMAT_STEREO_DOUBLE_EXT,
    AL_FORMAT_MONO_MULAW,
    AL_FORMAT_71CHN_MULAW,
});
inline constexpr auto effectTokens = std::to_array<ALenum>({
    AL_EFFECT_TYPE,
    AL_EFFECT_TYPE,
    0,
    1,
    2,
    3,
    4,
    5,
    6,
    7,
    8,
    9,
    10,
    11,
    12,
    13,
    14,
    15,
    16,
    17,
    18,
    19,
    20,
    21,
    22,
    23,
    24,
});
inline constexpr auto filterTokens = std::to_array<ALenum>({AL_FILTER_TYPE, 1, 2, 3, 4});
inline constexpr auto slotTokens = std::to_array<ALenum>({
    AL_EFFECTSLOT_EFFECT,
    AL_EFFECTSLOT_GAIN,
    AL_EFFECTSLOT_AUXILIARY_SEND_AUTO,
});
inline constexpr auto foldbackModes = std::to_array<ALenum>({AL_FOLDBACK_MODE_MONO, AL_FOLDBACK_MODE_STEREO});
inline constexpr auto alcTokens = std::to_array<ALenum>({
    ALC_MAJOR_VERSION,
    ALC_MINOR_VERSION,
    ALC_ATTRIBUTES_SIZE,
    ALC_ALL_ATTRIBUTES,
    ALC_FREQUENCY,
    ALC_REFRESH,
    ALC_SYNC,
    ALC_MONO_SOURCES,
    ALC_STEREO_SOURCES,
    ALC_DEFAULT_FILTER_ORDER,
    ALC_EFX_MAJOR_VERSION,
    ALC_EFX_MINOR_VERSION,
    ALC_MAX_AUXILIARY_SENDS,
    0x1234,
});
inline constexpr auto alcTextTokens = std::to_array<ALenum>({
    ALC_NO_ERROR,
    ALC_INVALID_DEVICE,
    ALC_OUT_OF_MEMORY,
    ALC_DEFAULT_DEVICE_SPECIFIER,
    ALC_DEVICE_SPECIFIER,
    ALC_EXTENSIONS,
    ALC_ALL_DEVICES_SPECIFIER,
    ALC_CAPTURE_DEVICE_SPECIFIER,
    0xA006,
});

// ---- Roles by their use ----

inline constexpr Name source{Table::Sources};
inline constexpr Name buffer{Table::Buffers};
inline constexpr Name slot{Table::Slots};
inline constexpr Name effect{Table::Effects};
inline constexpr Name filter{Table::Filters};
inline constexpr Count count{};
inline constexpr Value<ALint> integer{};
inline constexpr Value<ALfloat> number{};
inline constexpr Values<ALint> integersIn{};
inline constexpr Values<ALfloat> numbersIn{};
inline constexpr One<ALint> integerOut{};
inline constexpr One<ALfloat> numberOut{};
inline constexpr Results<ALint> integersOut{};
inline constexpr Results<ALfloat> numbersOut{};

// ---- The calls ----

inline std::vector<Operation> GlobalCalls() {
    const Token state{stateTokens};
    return {
        On("alEnable", Effect::Reads, alEnable, state),
        On("alDisable", Effect::Reads, alDisable, state),
        On("alIsEnabled", Effect::Reads, alIsEnabled, state),
        On("alGetString", Effect::Reads, alGetString, Token{textTokens}),
        On("alGetBooleanv", Effect::Reads, alGetBooleanv, state, One<ALboolean>{}),
        On("alGetIntegerv", Effect::Reads, alGetIntegerv, state, integerOut),
        On("alGetFloatv", Effect::Reads, alGetFloatv, state, numberOut),
        On("alGetDoublev", Effect::Reads, alGetDoublev, state, One<ALdouble>{}),
        On("alGetBoolean", Effect::Reads, alGetBoolean, state),
        On("alGetInteger", Effect::Reads, alGetInteger, state),
        On("alGetFloat", Effect::Reads, alGetFloat, state),
        On("alGetDouble", Effect::Reads, alGetDouble, state),
        On("alGetError", Effect::Reads, alGetError),
        On("alIsExtensionPresent", Effect::Reads, alIsExtensionPresent, Text{}),
        On("alGetProcAddress", Effect::Reads, alGetProcAddress, Text{}),
        On("alGetEnumValue", Effect::Reads, alGetEnumValue, Text{}),
        On("alDopplerFactor", Effect::Sets, alDopplerFactor, number),
        On("alDopplerVelocity", Effect::Sets, alDopplerVelocity, number),
        On("alSpeedOfSound", Effect::Sets, alSpeedOfSound, number),
        On("alDistanceModel", Effect::Sets, alDistanceModel, Token{distanceModels}),
        On("alRequestFoldbackStart", Effect::Sets, alRequestFoldbackStart, Token{foldbackModes},
           OneOf<7>{{2, 3, 4, 1, 0, -1, least}}, OneOf<6>{{1024, 64, 1, 0, -1, least}}, FoldbackRing{},
           FoldbackCallback{}),
        On("alRequestFoldbackStop", Effect::Sets, alRequestFoldbackStop),
    };
}

inline std::vector<Operation> ListenerCalls() {
    const Token token{listenerTokens};
    return {
        On("alListenerf", Effect::Sets, alListenerf, token, number),
        On("alListener3f", Effect::Sets, alListener3f, token, number, number, number),
        On("alListenerfv", Effect::Sets, alListenerfv, token, numbersIn),
        On("alListeneri", Effect::Sets, alListeneri, token, integer),
        On("alListener3i", Effect::Sets, alListener3i, token, integer, integer, integer),
        On("alListeneriv", Effect::Sets, alListeneriv, token, integersIn),
        On("alGetListenerf", Effect::Reads, alGetListenerf, token, numberOut),
        On("alGetListener3f", Effect::Reads, alGetListener3f, token, numberOut, numberOut, numberOut),
        On("alGetListenerfv", Effect::Reads, alGetListenerfv, token, numbersOut),
        On("alGetListeneri", Effect::Reads, alGetListeneri, token, integerOut),
        On("alGetListener3i", Effect::Reads, alGetListener3i, token, integerOut, integerOut, integerOut),
        On("alGetListeneriv", Effect::Reads, alGetListeneriv, token, integersOut),
    };
}

// The forms with a v trust their pointers.
inline std::vector<Operation> SourcePropertyCalls() {
    const Token token{sourceTokens};
    const Token triple{sourceTriples};
    return {
        On("alSourcef", Effect::Sets, alSourcef, source, token, number),
        On("alSource3f", Effect::Sets, alSource3f, source, triple, number, number, number),
        On("alSourcefv", Effect::Sets, alSourcefv, source, token, Values<ALfloat>{Null::Never}),
        On("alSourcei", Effect::Sets, alSourcei, source, token, integer),
        On("alSource3i", Effect::Sets, alSource3i, source, triple, integer, integer, integer),
        On("alSourceiv", Effect::Sets, alSourceiv, source, token, Values<ALint>{Null::Never}),
        On("alGetSourcef", Effect::Reads, alGetSourcef, source, token, numberOut),
        On("alGetSource3f", Effect::Reads, alGetSource3f, source, triple, numberOut, numberOut, numberOut),
        On("alGetSourcefv", Effect::Reads, alGetSourcefv, source, token, Results<ALfloat>{Null::Never}),
        On("alGetSourcei", Effect::Reads, alGetSourcei, source, token, integerOut),
        On("alGetSource3i", Effect::Reads, alGetSource3i, source, triple, integerOut, integerOut, integerOut),
        On("alGetSourceiv", Effect::Reads, alGetSourceiv, source, token, Results<ALint>{Null::Never}),
    };
}

inline std::vector<Operation> SourceCalls() {
    const ListOfNames sources{Table::Sources};
    return {
        On("alGenSources", Effect::Makes, alGenSources, CountToMake{Table::Sources}, ListToFill{}),
        On("alDeleteSources", Effect::Sets, alDeleteSources, count, sources),
        On("alIsSource", Effect::Reads, alIsSource, source),
        On("alSourcePlayv", Effect::Sets, alSourcePlayv, count, sources),
        On("alSourceStopv", Effect::Sets, alSourceStopv, count, sources),
        On("alSourceRewindv", Effect::Sets, alSourceRewindv, count, sources),
        On("alSourcePausev", Effect::Sets, alSourcePausev, count, sources),
        On("alSourcePlay", Effect::Sets, alSourcePlay, source),
        On("alSourceStop", Effect::Sets, alSourceStop, source),
        On("alSourceRewind", Effect::Sets, alSourceRewind, source),
        On("alSourcePause", Effect::Sets, alSourcePause, source),
        On("alSourceQueueBuffers", Effect::Sets, alSourceQueueBuffers, source, count,
           ListOfNames{Table::Buffers}),
        On("alSourceUnqueueBuffers", Effect::Sets, alSourceUnqueueBuffers, source, count, ListToFill{}),
    };
}

inline std::vector<Operation> BufferCalls() {
    const Token token{bufferTokens};
    const Token format{formats};
    return {
        On("alGenBuffers", Effect::Makes, alGenBuffers, CountToMake{Table::Buffers}, ListToFill{}),
        On("alDeleteBuffers", Effect::Sets, alDeleteBuffers, count, ListOfNames{Table::Buffers}),
        On("alIsBuffer", Effect::Reads, alIsBuffer, buffer),
        On("alBufferData", Effect::Sets, alBufferData, buffer, format, SampleData{false}, SampleSize{},
           Frequency{}),
        On("alBufferDataStatic", Effect::Sets, alBufferDataStatic, buffer, format, SampleData{true},
           SampleSize{}, Frequency{}),
        On("alBufferf", Effect::Sets, alBufferf, buffer, token, number),
        On("alBuffer3f", Effect::Sets, alBuffer3f, buffer, token, number, number, number),
        On("alBufferfv", Effect::Sets, alBufferfv, buffer, token, numbersIn),
        On("alBufferi", Effect::Sets, alBufferi, buffer, token, integer),
        On("alBuffer3i", Effect::Sets, alBuffer3i, buffer, token, integer, integer, integer),
        On("alBufferiv", Effect::Sets, alBufferiv, buffer, token, integersIn),
        On("alGetBufferf", Effect::Reads, alGetBufferf, buffer, token, numberOut),
        On("alGetBuffer3f", Effect::Reads, alGetBuffer3f, buffer, token, numberOut, numberOut, numberOut),
        On("alGetBufferfv", Effect::Reads, alGetBufferfv, buffer, token, numbersOut),
        On("alGetBufferi", Effect::Reads, alGetBufferi, buffer, token, integerOut),
        On("alGetBuffer3i", Effect::Reads, alGetBuffer3i, buffer, token, integerOut, integerOut, integerOut),
        On("alGetBufferiv", Effect::Reads, alGetBufferiv, buffer, token, integersOut),
    };
}

inline std::vector<Operation> EffectCalls() {
    const Token token{effectTokens};
    return {
        On("alGenEffects", Effect::Makes, alGenEffects, CountToMake{Table::Effects}, ListToFill{}),
        On("alDeleteEffects", Effect::Sets, alDeleteEffects, count, ListOfNames{Table::Effects}),
        On("alIsEffect", Effect::Reads, alIsEffect, effect),
        On("alEffecti", Effect::Sets, alEffecti, effect, token, integer),
        On("alEffectiv", Effect::Sets, alEffectiv, effect, token, integersIn),
        On("alEffectf", Effect::Sets, alEffectf, effect, token, number),
        On("alEffectfv", Effect::Sets, alEffectfv, effect, token, numbersIn),
        On("alGetEffecti", Effect::Reads, alGetEffecti, effect, token, integerOut),
        On("alGetEffectiv", Effect::Reads, alGetEffectiv, effect, token, integersOut),
        On("alGetEffectf", Effect::Reads, alGetEffectf, effect, token, numberOut),
        On("alGetEffectfv", Effect::Reads, alGetEffectfv, effect, token, numbersOut),
    };
}

inline std::vector<Operation> FilterCalls() {
    const Token token{filterTokens};
    return {
        On("alGenFilters", Effect::Makes, alGenFilters, CountToMake{Table::Filters}, ListToFill{}),
        On("alDeleteFilters", Effect::Sets, alDeleteFilters, count, ListOfNames{Table::Filters}),
        On("alIsFilter", Effect::Reads, alIsFilter, filter),
        On("alFilteri", Effect::Sets, alFilteri, filter, token, integer),
        On("alFilteriv", Effect::Sets, alFilteriv, filter, token, integersIn),
        On("alFilterf", Effect::Sets, alFilterf, filter, token, number),
        On("alFilterfv", Effect::Sets, alFilterfv, filter, token, numbersIn),
        On("alGetFilteri", Effect::Reads, alGetFilteri, filter, token, integerOut),
        On("alGetFilteriv", Effect::Reads, alGetFilteriv, filter, token, integersOut),
        On("alGetFilterf", Effect::Reads, alGetFilterf, filter, token, numberOut),
        On("alGetFilterfv", Effect::Reads, alGetFilterfv, filter, token, numbersOut),
    };
}

inline std::vector<Operation> SlotCalls() {
    const Token token{slotTokens};
    return {
        On("alGenAuxiliaryEffectSlots", Effect::Makes, alGenAuxiliaryEffectSlots, CountToMake{Table::Slots},
           ListToFill{}),
        On("alDeleteAuxiliaryEffectSlots", Effect::Sets, alDeleteAuxiliaryEffectSlots, count,
           ListOfNames{Table::Slots}),
        On("alIsAuxiliaryEffectSlot", Effect::Reads, alIsAuxiliaryEffectSlot, slot),
        On("alAuxiliaryEffectSloti", Effect::Sets, alAuxiliaryEffectSloti, slot, token, integer),
        On("alAuxiliaryEffectSlotiv", Effect::Sets, alAuxiliaryEffectSlotiv, slot, token, integersIn),
        On("alAuxiliaryEffectSlotf", Effect::Sets, alAuxiliaryEffectSlotf, slot, token, number),
        On("alAuxiliaryEffectSlotfv", Effect::Sets, alAuxiliaryEffectSlotfv, slot, token, numbersIn),
        On("alGetAuxiliaryEffectSloti", Effect::Reads, alGetAuxiliaryEffectSloti, slot, token, integerOut),
        On("alGetAuxiliaryEffectSlotiv", Effect::Reads, alGetAuxiliaryEffectSlotiv, slot, token, integersOut),
        On("alGetAuxiliaryEffectSlotf", Effect::Reads, alGetAuxiliaryEffectSlotf, slot, token, numberOut),
        On("alGetAuxiliaryEffectSlotfv", Effect::Reads, alGetAuxiliaryEffectSlotfv, slot, token, numbersOut),
    };
}

inline std::vector<Operation> AlcCalls() {
    const Device device{};
    const One<ALCint> version{Null::Never};
    return {
        On("alcMakeContextCurrent", Effect::Sets, alcMakeContextCurrent, ContextHandle{false}),
        On("alcSuspendContext", Effect::Sets, alcSuspendContext, ContextHandle{false}),
        On("alcProcessContext", Effect::Sets, alcProcessContext, ContextHandle{false}),
        On("alcDestroyContext", Effect::Sets, alcDestroyContext, ContextHandle{true}),
        On("alcGetCurrentContext", Effect::Reads, alcGetCurrentContext),
        On("alcGetContextsDevice", Effect::Reads, alcGetContextsDevice, ContextHandle{true}),
        On("alcOpenDevice", Effect::Reads, alcOpenDevice, Text{}),
        On("alcCloseDevice", Effect::Reads, alcCloseDevice, device),
        On("alcGetError", Effect::Reads, alcGetError, device),
        On("alcIsExtensionPresent", Effect::Reads, alcIsExtensionPresent, device, Text{}),
        On("alcGetProcAddress", Effect::Reads, alcGetProcAddress, device, Text{}),
        On("alcGetEnumValue", Effect::Reads, alcGetEnumValue, device, Text{}),
        On("alcGetString", Effect::Reads, alcGetString, device, Token{alcTextTokens}),
        On("alcGetIntegerv", Effect::Reads, alcGetIntegerv, device, Token{alcTokens}, ResultSize{},
           SizedResults{}),
        On("alcCaptureOpenDevice", Effect::Reads, alcCaptureOpenDevice, Text{}, integer, Token{formats},
           integer),
        On("alcCaptureCloseDevice", Effect::Reads, alcCaptureCloseDevice, device),
        On("alcCaptureStart", Effect::Reads, alcCaptureStart, device),
        On("alcCaptureStop", Effect::Reads, alcCaptureStop, device),
        On("alcCaptureSamples", Effect::Reads, alcCaptureSamples, device, SizedResults{}, integer),
        On("tsrGetVersion", Effect::Reads, tsrGetVersion, version, version, version),
    };
}

}  // namespace calls
