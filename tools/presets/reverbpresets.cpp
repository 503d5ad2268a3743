#include "tools/presets/reverbpresets.h"

#include <algorithm>
#include <utility>

#define AL_ALEXT_PROTOTYPES 1
#include "AL/efx.h"

namespace presets {
namespace {

// The values are those of EFX_REVERB_PRESET_GENERIC and so on. First line: density, diffusion, the three
// gains, decay time and its ratios at high and low frequencies, gain and delay of the reflections. Second
// line: their pan, gain, delay and pan of the late reverb, echo, modulation, air absorption, references,
// rolloff, limit.
// clang-format off
constexpr std::array presets = std::to_array<ReverbPreset>({
    {"generic",            1,       1,     0.3162F, 0.8913F, 1,       1.49F,  0.83F, 1,     0.05F,   0.007F,
     {}, 1.2589F, 0.011F, {}, 0.25F,  0,     0.25F,  0,      0.9943F, 5000,     250,    0, 1},
    {"paddedcell",         0.1715F, 1,     0.3162F, 0.001F,  1,       0.17F,  0.1F,  1,     0.25F,   0.001F,
     {}, 1.2691F, 0.002F, {}, 0.25F,  0,     0.25F,  0,      0.9943F, 5000,     250,    0, 1},
    {"room",               0.4287F, 1,     0.3162F, 0.5929F, 1,       0.4F,   0.83F, 1,     0.1503F, 0.002F,
     {}, 1.0629F, 0.003F, {}, 0.25F,  0,     0.25F,  0,      0.9943F, 5000,     250,    0, 1},
    {"bathroom",           0.1715F, 1,     0.3162F, 0.2512F, 1,       1.49F,  0.54F, 1,     0.6531F, 0.007F,
     {}, 3.2734F, 0.011F, {}, 0.25F,  0,     0.25F,  0,      0.9943F, 5000,     250,    0, 1},
    {"livingroom",         0.9766F, 1,     0.3162F, 0.001F,  1,       0.5F,   0.1F,  1,     0.2051F, 0.003F,
     {}, 0.2805F, 0.004F, {}, 0.25F,  0,     0.25F,  0,      0.9943F, 5000,     250,    0, 1},
    {"stoneroom",          1,       1,     0.3162F, 0.7079F, 1,       2.31F,  0.64F, 1,     0.4411F, 0.012F,
     {}, 1.1003F, 0.017F, {}, 0.25F,  0,     0.25F,  0,      0.9943F, 5000,     250,    0, 1},
    {"auditorium",         1,       1,     0.3162F, 0.5781F, 1,       4.32F,  0.59F, 1,     0.4032F, 0.02F,
     {}, 0.717F,  0.03F,  {}, 0.25F,  0,     0.25F,  0,      0.9943F, 5000,     250,    0, 1},
    {"concerthall",        1,       1,     0.3162F, 0.5623F, 1,       3.92F,  0.7F,  1,     0.2427F, 0.02F,
     {}, 0.9977F, 0.029F, {}, 0.25F,  0,     0.25F,  0,      0.9943F, 5000,     250,    0, 1},
    {"cave",               1,       1,     0.3162F, 1,       1,       2.91F,  1.3F,  1,     0.5F,    0.015F,
     {}, 0.7063F, 0.022F, {}, 0.25F,  0,     0.25F,  0,      0.9943F, 5000,     250,    0, 0},
    {"arena",              1,       1,     0.3162F, 0.4477F, 1,       7.24F,  0.33F, 1,     0.2612F, 0.02F,
     {}, 1.0186F, 0.03F,  {}, 0.25F,  0,     0.25F,  0,      0.9943F, 5000,     250,    0, 1},
    {"hangar",             1,       1,     0.3162F, 0.3162F, 1,       10.05F, 0.23F, 1,     0.5F,    0.02F,
     {}, 1.256F,  0.03F,  {}, 0.25F,  0,     0.25F,  0,      0.9943F, 5000,     250,    0, 1},
    {"carpetedhallway",    0.4287F, 1,     0.3162F, 0.01F,   1,       0.3F,   0.1F,  1,     0.1215F, 0.002F,
     {}, 0.1531F, 0.03F,  {}, 0.25F,  0,     0.25F,  0,      0.9943F, 5000,     250,    0, 1},
    {"hallway",            0.3645F, 1,     0.3162F, 0.7079F, 1,       1.49F,  0.59F, 1,     0.2458F, 0.007F,
     {}, 1.6615F, 0.011F, {}, 0.25F,  0,     0.25F,  0,      0.9943F, 5000,     250,    0, 1},
    {"stonecorridor",      1,       1,     0.3162F, 0.7612F, 1,       2.7F,   0.79F, 1,     0.2472F, 0.013F,
     {}, 1.5758F, 0.02F,  {}, 0.25F,  0,     0.25F,  0,      0.9943F, 5000,     250,    0, 1},
    {"alley",              1,       0.3F,  0.3162F, 0.7328F, 1,       1.49F,  0.86F, 1,     0.25F,   0.007F,
     {}, 0.9954F, 0.011F, {}, 0.125F, 0.95F, 0.25F,  0,      0.9943F, 5000,     250,    0, 1},
    {"forest",             1,       0.3F,  0.3162F, 0.0224F, 1,       1.49F,  0.54F, 1,     0.0525F, 0.162F,
     {}, 0.7682F, 0.088F, {}, 0.125F, 1,     0.25F,  0,      0.9943F, 5000,     250,    0, 1},
    {"city",               1,       0.5F,  0.3162F, 0.3981F, 1,       1.49F,  0.67F, 1,     0.073F,  0.007F,
     {}, 0.1427F, 0.011F, {}, 0.25F,  0,     0.25F,  0,      0.9943F, 5000,     250,    0, 1},
    {"mountains",          1,       0.27F, 0.3162F, 0.0562F, 1,       1.49F,  0.21F, 1,     0.0407F, 0.3F,
     {}, 0.1919F, 0.1F,   {}, 0.25F,  1,     0.25F,  0,      0.9943F, 5000,     250,    0, 0},
    {"quarry",             1,       1,     0.3162F, 0.3162F, 1,       1.49F,  0.83F, 1,     0,       0.061F,
     {}, 1.7783F, 0.025F, {}, 0.125F, 0.7F,  0.25F,  0,      0.9943F, 5000,     250,    0, 1},
    {"plain",              1,       0.21F, 0.3162F, 0.1F,    1,       1.49F,  0.5F,  1,     0.0585F, 0.179F,
     {}, 0.1089F, 0.1F,   {}, 0.25F,  1,     0.25F,  0,      0.9943F, 5000,     250,    0, 1},
    {"parkinglot",         1,       1,     0.3162F, 1,       1,       1.65F,  1.5F,  1,     0.2082F, 0.008F,
     {}, 0.2652F, 0.012F, {}, 0.25F,  0,     0.25F,  0,      0.9943F, 5000,     250,    0, 0},
    {"sewerpipe",          0.3071F, 0.8F,  0.3162F, 0.3162F, 1,       2.81F,  0.14F, 1,     1.6387F, 0.014F,
     {}, 3.2471F, 0.021F, {}, 0.25F,  0,     0.25F,  0,      0.9943F, 5000,     250,    0, 1},
    {"underwater",         0.3645F, 1,     0.3162F, 0.01F,   1,       1.49F,  0.1F,  1,     0.5963F, 0.007F,
     {}, 7.0795F, 0.011F, {}, 0.25F,  0,     1.18F,  0.348F, 0.9943F, 5000,     250,    0, 1},
    {"drugged",            0.4287F, 0.5F,  0.3162F, 1,       1,       8.39F,  1.39F, 1,     0.876F,  0.002F,
     {}, 3.1081F, 0.03F,  {}, 0.25F,  0,     0.25F,  1,      0.9943F, 5000,     250,    0, 0},
    {"dizzy",              0.3645F, 0.6F,  0.3162F, 0.631F,  1,       17.23F, 0.56F, 1,     0.1392F, 0.02F,
     {}, 0.4937F, 0.03F,  {}, 0.25F,  1,     0.81F,  0.31F,  0.9943F, 5000,     250,    0, 0},
    {"psychotic",          0.0625F, 0.5F,  0.3162F, 0.8404F, 1,       7.56F,  0.91F, 1,     0.4864F, 0.02F,
     {}, 2.4378F, 0.03F,  {}, 0.25F,  0,     4,      1,      0.9943F, 5000,     250,    0, 0},
    {"castle_hall",        1,       0.81F, 0.3162F, 0.2818F, 0.1778F, 3.14F,  0.79F, 0.62F, 0.1778F, 0.056F,
     {}, 1.122F,  0.024F, {}, 0.25F,  0,     0.25F,  0,      0.9943F, 5168.6F,  139.5F, 0, 1},
    {"castle_courtyard",   1,       0.42F, 0.3162F, 0.4467F, 0.1995F, 2.13F,  0.61F, 0.23F, 0.2239F, 0.16F,
     {}, 0.7079F, 0.036F, {}, 0.25F,  0.37F, 0.25F,  0,      0.9943F, 5000,     250,    0, 0},
    {"factory_hall",       0.4287F, 0.75F, 0.3162F, 0.7079F, 0.631F,  7.43F,  0.51F, 1.31F, 0.0631F, 0.073F,
     {}, 0.8913F, 0.027F, {}, 0.25F,  0,     0.25F,  0,      0.9943F, 3762.6F,  362.5F, 0, 1},
    {"icepalace_hall",     1,       0.76F, 0.3162F, 0.4467F, 0.5623F, 5.49F,  1.53F, 0.38F, 0.1122F, 0.054F,
     {}, 0.631F,  0.052F, {}, 0.226F, 0.11F, 0.25F,  0,      0.9943F, 12428.5F, 99.6F,  0, 1},
    {"spacestation_hall",  0.4287F, 0.87F, 0.3162F, 0.7079F, 0.1585F, 7.11F,  0.38F, 0.61F, 0.1778F, 0.1F,
     {}, 0.631F,  0.047F, {}, 0.25F,  0.25F, 0.25F,  0,      0.9943F, 3316.1F,  458.2F, 0, 1},
    {"sport_emptystadium", 1,       1,     0.3162F, 0.4467F, 0.7943F, 6.26F,  0.51F, 1.1F,  0.0631F, 0.183F,
     {}, 0.3981F, 0.038F, {}, 0.25F,  0,     0.25F,  0,      0.9943F, 5000,     250,    0, 1},
    {"dome_saintpauls",    1,       0.87F, 0.3162F, 0.3548F, 0.2239F, 10.48F, 0.19F, 0.1F,  0.1778F, 0.09F,
     {}, 1.2589F, 0.042F, {}, 0.25F,  0.12F, 0.25F,  0,      0.9943F, 2854.4F,  20,     0, 1},
    {"mood_heaven",        1,       0.94F, 0.3162F, 0.7943F, 0.4467F, 5.04F,  1.12F, 0.56F, 0.2427F, 0.02F,
     {}, 1.2589F, 0.029F, {}, 0.25F,  0.08F, 2.742F, 0.05F,  0.9977F, 5000,     250,    0, 1},
    {"chapel",             1,       0.84F, 0.3162F, 0.5623F, 1,       4.62F,  0.64F, 1.23F, 0.4467F, 0.032F,
     {}, 0.7943F, 0.049F, {}, 0.25F,  0,     0.25F,  0.11F,  0.9943F, 5000,     250,    0, 1},
    {"driving_tunnel",     1,       0.81F, 0.3162F, 0.3981F, 0.8913F, 3.42F,  0.94F, 1.31F, 0.7079F, 0.051F,
     {}, 0.7079F, 0.047F, {}, 0.214F, 0.05F, 0.25F,  0,      0.9943F, 5000,     155.3F, 0, 1},
});
// clang-format on

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
