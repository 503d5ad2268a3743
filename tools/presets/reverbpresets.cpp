#include "tools/presets/reverbpresets.h"

#include <algorithm>
#include <utility>

#define AL_ALEXT_PROTOTYPES 1
#include "AL/efx-presets.h"
#include "AL/efx.h"

namespace presets {
namespace {

// The fields of the public record, with the name by which people ask for it.
constexpr ReverbPreset Preset(std::string_view name, const EFXEAXREVERBPROPERTIES& room) {
    const auto pan = [](const float(&vector)[3]) {
        return std::array<ALfloat, 3>{vector[0], vector[1], vector[2]};
    };
    return {name,
            room.flDensity,
            room.flDiffusion,
            room.flGain,
            room.flGainHF,
            room.flGainLF,
            room.flDecayTime,
            room.flDecayHFRatio,
            room.flDecayLFRatio,
            room.flReflectionsGain,
            room.flReflectionsDelay,
            pan(room.flReflectionsPan),
            room.flLateReverbGain,
            room.flLateReverbDelay,
            pan(room.flLateReverbPan),
            room.flEchoTime,
            room.flEchoDepth,
            room.flModulationTime,
            room.flModulationDepth,
            room.flAirAbsorptionGainHF,
            room.flHFReference,
            room.flLFReference,
            room.flRoomRolloffFactor,
            static_cast<ALboolean>(room.iDecayHFLimit)};
}

constexpr std::array presets = std::to_array<ReverbPreset>({
    Preset("generic", EFX_REVERB_PRESET_GENERIC),
    Preset("paddedcell", EFX_REVERB_PRESET_PADDEDCELL),
    Preset("room", EFX_REVERB_PRESET_ROOM),
    Preset("bathroom", EFX_REVERB_PRESET_BATHROOM),
    Preset("livingroom", EFX_REVERB_PRESET_LIVINGROOM),
    Preset("stoneroom", EFX_REVERB_PRESET_STONEROOM),
    Preset("auditorium", EFX_REVERB_PRESET_AUDITORIUM),
    Preset("concerthall", EFX_REVERB_PRESET_CONCERTHALL),
    Preset("cave", EFX_REVERB_PRESET_CAVE),
    Preset("arena", EFX_REVERB_PRESET_ARENA),
    Preset("hangar", EFX_REVERB_PRESET_HANGAR),
    Preset("carpetedhallway", EFX_REVERB_PRESET_CARPETEDHALLWAY),
    Preset("hallway", EFX_REVERB_PRESET_HALLWAY),
    Preset("stonecorridor", EFX_REVERB_PRESET_STONECORRIDOR),
    Preset("alley", EFX_REVERB_PRESET_ALLEY),
    Preset("forest", EFX_REVERB_PRESET_FOREST),
    Preset("city", EFX_REVERB_PRESET_CITY),
    Preset("mountains", EFX_REVERB_PRESET_MOUNTAINS),
    Preset("quarry", EFX_REVERB_PRESET_QUARRY),
    Preset("plain", EFX_REVERB_PRESET_PLAIN),
    Preset("parkinglot", EFX_REVERB_PRESET_PARKINGLOT),
    Preset("sewerpipe", EFX_REVERB_PRESET_SEWERPIPE),
    Preset("underwater", EFX_REVERB_PRESET_UNDERWATER),
    Preset("drugged", EFX_REVERB_PRESET_DRUGGED),
    Preset("dizzy", EFX_REVERB_PRESET_DIZZY),
    Preset("psychotic", EFX_REVERB_PRESET_PSYCHOTIC),
    Preset("castle_hall", EFX_REVERB_PRESET_CASTLE_HALL),
    Preset("castle_courtyard", EFX_REVERB_PRESET_CASTLE_COURTYARD),
    Preset("factory_hall", EFX_REVERB_PRESET_FACTORY_HALL),
    Preset("icepalace_hall", EFX_REVERB_PRESET_ICEPALACE_HALL),
    Preset("spacestation_hall", EFX_REVERB_PRESET_SPACESTATION_HALL),
    Preset("sport_emptystadium", EFX_REVERB_PRESET_SPORT_EMPTYSTADIUM),
    Preset("dome_saintpauls", EFX_REVERB_PRESET_DOME_SAINTPAULS),
    Preset("mood_heaven", EFX_REVERB_PRESET_MOOD_HEAVEN),
    Preset("chapel", EFX_REVERB_PRESET_CHAPEL),
    Preset("driving_tunnel", EFX_REVERB_PRESET_DRIVING_TUNNEL),
});

constexpr std::pair<ALenum, ALfloat ReverbPreset::*> numbers[] = {
    {AL_EAXREVERB_DENSITY, &ReverbPreset::density},
    {AL_EAXREVERB_DIFFUSION, &ReverbPreset::diffusion},
    {AL_EAXREVERB_GAIN, &ReverbPreset::gain},
    {AL_EAXREVERB_GAINHF, &ReverbPreset::gainHF},
    {AL_EAXREVERB_GAINLF, &ReverbPreset::gainLF},
    {AL_EAXREVERB_DECAY_TIME, &ReverbPreset::decayTime},
    {AL_EAXREVERB_DECAY_HFRATIO, &ReverbPreset::decayHFRatio},
    {AL_EAXREVERB_DECAY_LFRATIO, &ReverbPreset::decayLFRatio},
    {AL_EAXREVERB_REFLECTIONS_GAIN, &ReverbPreset::reflectionsGain},
    {AL_EAXREVERB_REFLECTIONS_DELAY, &ReverbPreset::reflectionsDelay},
    {AL_EAXREVERB_LATE_REVERB_GAIN, &ReverbPreset::lateReverbGain},
    {AL_EAXREVERB_LATE_REVERB_DELAY, &ReverbPreset::lateReverbDelay},
    {AL_EAXREVERB_ECHO_TIME, &ReverbPreset::echoTime},
    {AL_EAXREVERB_ECHO_DEPTH, &ReverbPreset::echoDepth},
    {AL_EAXREVERB_MODULATION_TIME, &ReverbPreset::modulationTime},
    {AL_EAXREVERB_MODULATION_DEPTH, &ReverbPreset::modulationDepth},
    {AL_EAXREVERB_AIR_ABSORPTION_GAINHF, &ReverbPreset::airAbsorptionGainHF},
    {AL_EAXREVERB_HFREFERENCE, &ReverbPreset::hfReference},
    {AL_EAXREVERB_LFREFERENCE, &ReverbPreset::lfReference},
    {AL_EAXREVERB_ROOM_ROLLOFF_FACTOR, &ReverbPreset::roomRolloffFactor},
};

}  // namespace

std::span<const ReverbPreset> ReverbPresets() {
    return presets;
}

const ReverbPreset* FindReverbPreset(std::string_view name) {
    const auto* const found = std::ranges::find(presets, name, &ReverbPreset::name);
    return found == presets.end() ? nullptr : found;
}

void ApplyReverbPreset(ALuint effect, const ReverbPreset& preset) {
    alEffecti(effect, AL_EFFECT_TYPE, AL_EFFECT_EAXREVERB);
    for (const auto& [parameter, field] : numbers)
        alEffectf(effect, parameter, preset.*field);
    alEffectfv(effect, AL_EAXREVERB_REFLECTIONS_PAN, preset.reflectionsPan.data());
    alEffectfv(effect, AL_EAXREVERB_LATE_REVERB_PAN, preset.lateReverbPan.data());
    alEffecti(effect, AL_EAXREVERB_DECAY_HFLIMIT, preset.decayHFLimit);
}

}  // namespace presets
