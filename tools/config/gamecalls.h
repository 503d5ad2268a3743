#pragma once

// The calls of the shared library beside this program, as a game has them: loaded while the program runs, so
// that what the program links of it itself stays apart. It stays loaded until the process ends. One thread.

#define AL_ALEXT_PROTOTYPES 1
#include "AL/tessarune.h"

namespace tool {

/// A failure to load throws slib::BadStateException, which says what to do.
class GameCalls {
public:
    GameCalls();

    decltype(&::alcOpenDevice) alcOpenDevice = nullptr;
    decltype(&::alcCloseDevice) alcCloseDevice = nullptr;
    decltype(&::alcCreateContext) alcCreateContext = nullptr;
    decltype(&::alcDestroyContext) alcDestroyContext = nullptr;
    decltype(&::alcMakeContextCurrent) alcMakeContextCurrent = nullptr;
    decltype(&::alGetError) alGetError = nullptr;
    decltype(&::alGetString) alGetString = nullptr;
    decltype(&::alGenBuffers) alGenBuffers = nullptr;
    decltype(&::alDeleteBuffers) alDeleteBuffers = nullptr;
    decltype(&::alBufferData) alBufferData = nullptr;
    decltype(&::alGenSources) alGenSources = nullptr;
    decltype(&::alDeleteSources) alDeleteSources = nullptr;
    decltype(&::alSourcei) alSourcei = nullptr;
    decltype(&::alSource3i) alSource3i = nullptr;
    decltype(&::alSource3f) alSource3f = nullptr;
    decltype(&::alSourcePlay) alSourcePlay = nullptr;
    decltype(&::alSourceStop) alSourceStop = nullptr;
    decltype(&::alGenFilters) alGenFilters = nullptr;
    decltype(&::alDeleteFilters) alDeleteFilters = nullptr;
    decltype(&::alFilteri) alFilteri = nullptr;
    decltype(&::alFilterf) alFilterf = nullptr;
    decltype(&::alGenEffects) alGenEffects = nullptr;
    decltype(&::alDeleteEffects) alDeleteEffects = nullptr;
    decltype(&::alEffecti) alEffecti = nullptr;
    decltype(&::alGenAuxiliaryEffectSlots) alGenAuxiliaryEffectSlots = nullptr;
    decltype(&::alDeleteAuxiliaryEffectSlots) alDeleteAuxiliaryEffectSlots = nullptr;
    decltype(&::alAuxiliaryEffectSloti) alAuxiliaryEffectSloti = nullptr;
};

}  // namespace tool
