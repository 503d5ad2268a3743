#pragma once

// Every call of the interface with the roles of its arguments that finds or changes something of the context,
// but for alcCreateContext, which would start a server. Used by the calls target, on its one thread.

#include <initializer_list>
#include <vector>

#include "fuzz/callroles.h"

namespace calls {

// ---- Tokens ----

// clang-format off
inline constexpr ALenum stateTokens[] = {
    AL_DOPPLER_FACTOR, AL_DOPPLER_VELOCITY, AL_SPEED_OF_SOUND, AL_DISTANCE_MODEL, AL_EXTENSIONS};
inline constexpr ALenum distanceModels[] = {
    AL_NONE, AL_INVERSE_DISTANCE, AL_LINEAR_DISTANCE_CLAMPED, AL_EXPONENT_DISTANCE_CLAMPED,
    AL_DISTANCE_MODEL, 0xD007};
inline constexpr ALenum listenerTokens[] = {
    AL_GAIN, AL_METERS_PER_UNIT, AL_POSITION, AL_VELOCITY, AL_ORIENTATION};
inline constexpr ALenum sourceTokens[] = {
    AL_GAIN, AL_MIN_GAIN, AL_MAX_GAIN, AL_PITCH, AL_REFERENCE_DISTANCE, AL_ROLLOFF_FACTOR, AL_MAX_DISTANCE,
    AL_CONE_OUTER_GAIN, AL_CONE_INNER_ANGLE, AL_CONE_OUTER_ANGLE, AL_SOURCE_RADIUS,
    AL_AIR_ABSORPTION_FACTOR, AL_ROOM_ROLLOFF_FACTOR, AL_CONE_OUTER_GAINHF, AL_SEC_OFFSET, AL_SAMPLE_OFFSET,
    AL_BYTE_OFFSET, AL_POSITION, AL_VELOCITY, AL_DIRECTION, AL_ORIENTATION, AL_STEREO_ANGLES,
    AL_SOURCE_RELATIVE, AL_LOOPING, AL_BUFFER, AL_BUFFER, AL_SOURCE_STATE, AL_BUFFERS_QUEUED,
    AL_BUFFERS_PROCESSED, AL_SOURCE_TYPE, AL_DIRECT_FILTER, AL_AUXILIARY_SEND_FILTER,
    AL_DIRECT_FILTER_GAINHF_AUTO, AL_AUXILIARY_SEND_FILTER_GAIN_AUTO, AL_AUXILIARY_SEND_FILTER_GAINHF_AUTO};
inline constexpr ALenum sourceTriples[] = {
    AL_POSITION, AL_VELOCITY, AL_DIRECTION, AL_AUXILIARY_SEND_FILTER, AL_ORIENTATION};
inline constexpr ALenum bufferTokens[] = {AL_FREQUENCY, AL_BITS, AL_CHANNELS, AL_SIZE};
inline constexpr ALenum formats[] = {
    AL_FORMAT_MONO16, AL_FORMAT_MONO16, AL_FORMAT_MONO16, AL_FORMAT_MONO16, AL_FORMAT_MONO8,
    AL_FORMAT_STEREO16, AL_FORMAT_MONO_IMA4, AL_FORMAT_STEREO_IMA4, AL_FORMAT_BFORMAT2D_8,
    AL_FORMAT_51CHN32, AL_FORMAT_MONO_FLOAT32, AL_FORMAT_STEREO_DOUBLE_EXT, AL_FORMAT_MONO_MULAW,
    AL_FORMAT_71CHN_MULAW};
inline constexpr ALenum effectTokens[] = {
    AL_EFFECT_TYPE, AL_EFFECT_TYPE, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19,
    20, 21, 22, 23, 24};
inline constexpr ALenum filterTokens[] = {AL_FILTER_TYPE, 1, 2, 3, 4};
inline constexpr ALenum slotTokens[] = {
    AL_EFFECTSLOT_EFFECT, AL_EFFECTSLOT_GAIN, AL_EFFECTSLOT_AUXILIARY_SEND_AUTO};
inline constexpr ALenum foldbackModes[] = {AL_FOLDBACK_MODE_MONO, AL_FOLDBACK_MODE_STEREO};
// clang-format on

// ---- Roles by their use ----

inline constexpr Name source{Table::Sources};
inline constexpr Name buffer{Table::Buffers};

// ---- The calls ----

using Operations = std::vector<Operation>;

inline Operations Joined(std::initializer_list<Operations> parts) {
    Operations all;
    for (const Operations& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

/// Calls that begin with the same roles.
template <typename... Roles>
auto Taking(Roles... roles) {
    return [=](auto*... functions) { return Operations{On(functions, roles...)...}; };
}

/// The three calls of each kind of object.
inline Operations Life(Table table, void (*gen)(ALsizei, ALuint*), void (*remove)(ALsizei, const ALuint*),
                       ALboolean (*is)(ALuint)) {
    return {On(gen, CountToMake{table}, listToFill), On(remove, count, ListOfNames{table}),
            On(is, Name{table})};
}

inline Operations GlobalCalls() {
    const Token state{stateTokens};
    return Joined(
        {Taking(state)(alGetBooleanv, alGetIntegerv, alGetFloatv, alGetDoublev),
         Taking()(alDopplerFactor, alDopplerVelocity, alSpeedOfSound),
         Taking(Token{distanceModels})(alDistanceModel),
         Taking(Token{foldbackModes}, OneOf{{2, 3, 4, 1, 0, -1, least}}, OneOf{{1024, 64, 1, 0, -1, least}},
                foldbackRing, foldbackCallback)(alRequestFoldbackStart),
         Taking()(alRequestFoldbackStop)});
}

inline Operations ListenerCalls() {
    return Taking(Token{listenerTokens})(alListenerf, alListener3f, alListenerfv, alListeneri, alListener3i,
                                         alListeneriv, alGetListenerf, alGetListener3f, alGetListenerfv,
                                         alGetListeneri, alGetListener3i, alGetListeneriv);
}

inline Operations SourcePropertyCalls() {
    const auto any = Taking(source, Token{sourceTokens}), three = Taking(source, Token{sourceTriples});
    return Joined({any(alSourcef), three(alSource3f), any(alSourcefv, alSourcei), three(alSource3i),
                   any(alSourceiv, alGetSourcef), three(alGetSource3f), any(alGetSourcefv, alGetSourcei),
                   three(alGetSource3i), any(alGetSourceiv)});
}

inline Operations SourceCalls() {
    return Joined({Life(Table::Sources, alGenSources, alDeleteSources, alIsSource),
                   Taking(count, ListOfNames{Table::Sources})(alSourcePlayv, alSourceStopv, alSourceRewindv,
                                                              alSourcePausev),
                   Taking(source)(alSourcePlay, alSourceStop, alSourceRewind, alSourcePause),
                   Taking(source, count, ListOfNames{Table::Buffers})(alSourceQueueBuffers),
                   Taking(source, count, listToFill)(alSourceUnqueueBuffers)});
}

inline Operations BufferCalls() {
    const Token format{formats};
    const OneOf frequency{{44100, 44100, 44100, 22050, 8000, 1, 0, -1, 192000, 48000, greatest, least}};
    return Joined({Life(Table::Buffers, alGenBuffers, alDeleteBuffers, alIsBuffer),
                   Taking(buffer, format, SampleData{false}, sampleSize, frequency)(alBufferData),
                   Taking(buffer, format, SampleData{true}, sampleSize, frequency)(alBufferDataStatic),
                   Taking(buffer, Token{bufferTokens})(
                       alBufferf, alBuffer3f, alBufferfv, alBufferi, alBuffer3i, alBufferiv, alGetBufferf,
                       alGetBuffer3f, alGetBufferfv, alGetBufferi, alGetBuffer3i, alGetBufferiv)});
}

inline Operations EfxCalls() {
    return Joined(
        {Life(Table::Slots, alGenAuxiliaryEffectSlots, alDeleteAuxiliaryEffectSlots, alIsAuxiliaryEffectSlot),
         Taking(Name{Table::Slots}, Token{slotTokens})(alAuxiliaryEffectSloti, alAuxiliaryEffectSlotiv,
                                                       alAuxiliaryEffectSlotf, alAuxiliaryEffectSlotfv,
                                                       alGetAuxiliaryEffectSloti, alGetAuxiliaryEffectSlotiv,
                                                       alGetAuxiliaryEffectSlotf, alGetAuxiliaryEffectSlotfv),
         Life(Table::Effects, alGenEffects, alDeleteEffects, alIsEffect),
         Taking(Name{Table::Effects}, Token{effectTokens})(alEffecti, alEffectiv, alEffectf, alEffectfv,
                                                           alGetEffecti, alGetEffectiv, alGetEffectf,
                                                           alGetEffectfv),
         Life(Table::Filters, alGenFilters, alDeleteFilters, alIsFilter),
         Taking(Name{Table::Filters}, Token{filterTokens})(alFilteri, alFilteriv, alFilterf, alFilterfv,
                                                           alGetFilteri, alGetFilteriv, alGetFilterf,
                                                           alGetFilterfv)});
}

inline Operations AlcCalls() {
    return Taking(contextOrNull)(alcMakeContextCurrent, alcSuspendContext, alcProcessContext,
                                 alcDestroyContext);
}

}  // namespace calls
