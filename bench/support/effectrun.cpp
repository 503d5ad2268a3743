#include "bench/support/effectrun.h"

#include <array>

#include "AL/efx.h"
#include "AL/tessarune.h"
#include "goal/dsp/antidenormal.h"
#include "goal/fx/effecttypes.h"

namespace {

constexpr std::uint32_t spatialChannels = 25;

constexpr EffectQuality qualities[] = {{"low", false, false}, {"medium", false, true}, {"high", true, true}};

constexpr BenchedEffect effects[] = {{"reverb", AL_EFFECT_REVERB, true},
                                     {"eaxreverb", AL_EFFECT_EAXREVERB, true},
                                     {"chorus", AL_EFFECT_CHORUS, false},
                                     {"flanger", AL_EFFECT_FLANGER, false},
                                     {"echo", AL_EFFECT_ECHO, false},
                                     {"distortion", AL_EFFECT_DISTORTION, false},
                                     {"ringmodulator", AL_EFFECT_RING_MODULATOR, false},
                                     {"compressor", AL_EFFECT_COMPRESSOR, false},
                                     {"equalizer", AL_EFFECT_EQUALIZER, false},
                                     {"dedicated", AL_EFFECT_DEDICATED_DIALOGUE, false}};

// Off the defaults where those spare an effect its work.
void SetBusyParameters(goal::EffectProcessorParameters& parameters) {
    if (parameters.effectType == AL_EFFECT_EQUALIZER) {
        parameters.setParameterf(AL_EQUALIZER_LOW_GAIN, 2);
        parameters.setParameterf(AL_EQUALIZER_MID1_GAIN, 0.5F);
        parameters.setParameterf(AL_EQUALIZER_MID2_GAIN, 2);
        parameters.setParameterf(AL_EQUALIZER_HIGH_GAIN, 0.5F);
    }
    if (parameters.effectType == AL_EFFECT_EAXREVERB) {
        parameters.setParameterf(AL_EAXREVERB_ECHO_DEPTH, 0.5F);
        parameters.setParameterf(AL_EAXREVERB_MODULATION_DEPTH, 0.5F);
    }
}

std::uint32_t InputChannels(goal::EffectInput kind, bool isDirectional) {
    if (kind == goal::EffectInput::Field) return spatialChannels;
    return kind == goal::EffectInput::Reverb && isDirectional ? 4 : 1;
}

}  // namespace

std::span<const EffectQuality> EffectQualities() {
    return qualities;
}

std::span<const BenchedEffect> BenchedEffects() {
    return effects;
}

EffectRun::EffectRun(std::int32_t type, const EffectQuality& quality, bool isRefined)
    : parameters(goal::fx::MakeEffectParameters(type)) {
    SetBusyParameters(*parameters);
    state = parameters->createState({.sampleRate = sampleRate,
                                     .order = 4,
                                     .useFullLateReflections = quality.useFullLateReflections,
                                     .useDirectionalEarlyReflections = quality.useDirectionalEarlyReflections,
                                     .blockFrames = frames,
                                     .listenerBasis = &listener,
                                     .isRefined = isRefined});
    input.resize(frames, InputChannels(state->inputKind, quality.useDirectionalEarlyReflections));
    output.resize(frames, spatialChannels);
    std::uint32_t seed = 1;
    for (std::uint32_t c = 0; c < input.channelCount; ++c)
        for (std::uint32_t i = 0; i < frames; ++i)
            input.channels[c][i] =
                static_cast<float>((seed = seed * 1664525 + 1013904223) >> 8) / (1 << 25) - 0.25F;
}

// The sum in the output grows from block to block, but slowly, and nobody takes it up.
void EffectRun::Process() {
    state->process({.parameters = parameters.get(),
                    .input = input.channels,
                    .output = output.channels,
                    .frames = frames,
                    .vectors = input.vectors,
                    .slotGain = 1});
}
