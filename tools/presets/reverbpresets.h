#pragma once

// Rooms to choose from: the reverb presets that are published with EFX, as settings of AL_EFFECT_EAXREVERB.
// For programs and tests that call the library as a game does; any thread with a current context.

#include <array>
#include <span>
#include <string_view>

#include "AL/al.h"

namespace presets {

/// Gains are linear, times and delays in seconds, references in Hz. In the order of the AL parameters.
struct ReverbPreset {
    std::string_view name;  ///< in lower case, such as "concerthall" or "castle_hall"
    ALfloat density;
    ALfloat diffusion;
    ALfloat gain;
    ALfloat gainHF;
    ALfloat gainLF;
    ALfloat decayTime;
    ALfloat decayHFRatio;
    ALfloat decayLFRatio;
    ALfloat reflectionsGain;
    ALfloat reflectionsDelay;
    std::array<ALfloat, 3> reflectionsPan;
    ALfloat lateReverbGain;
    ALfloat lateReverbDelay;
    std::array<ALfloat, 3> lateReverbPan;
    ALfloat echoTime;
    ALfloat echoDepth;
    ALfloat modulationTime;
    ALfloat modulationDepth;
    ALfloat airAbsorptionGainHF;  ///< per metre
    ALfloat hfReference;
    ALfloat lfReference;
    ALfloat roomRolloffFactor;
    ALboolean decayHFLimit;
};

/// The 26 environments from "generic" to "psychotic", then some larger and stranger places.
std::span<const ReverbPreset> ReverbPresets();

/// Null for an unknown name.
const ReverbPreset* FindReverbPreset(std::string_view name);

/// Makes `effect`, the name of an effect object, an AL_EFFECT_EAXREVERB with all values of the preset. A slot
/// hears of it when the effect is bound to it again. Failures are alGetError's.
void ApplyReverbPreset(ALuint effect, const ReverbPreset& preset);

}  // namespace presets
