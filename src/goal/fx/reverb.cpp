#include "goal/fx/reverb.h"

#include <algorithm>
#include <cmath>

#include "goal/dsp/antidenormal.h"
#include "goal/dsp/blockglide.h"
#include "numeric/kernels/gainkernel.h"
#include "numeric/kernels/mixkernel.h"

namespace goal::fx {
namespace {

// The late part's own delay until it is heard, in seconds.
constexpr double fullNetworkDelay = 0.0286851921007;
constexpr double smallNetworkDelay = 0.0546665510634;

constexpr float fullLateGain = 5;
constexpr float smallLateGain = 2.5F;

constexpr double noLimit = 1e20;

// The directions of the late part, in the axes of the scene.
constexpr std::array<Vector3, 4> tetrahedron{{{0.8164966F, 0, 0.57735026F},
                                              {-0.8164966F, 0, 0.57735026F},
                                              {0, -0.8164966F, -0.57735026F},
                                              {0, 0.8164966F, -0.57735026F}}};

float Dot(const Vector3& a, const Vector3& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

float Toward(float value, float target, float rise, float fall) {
    return std::clamp(target, value - fall, value + rise);
}

bool Differs(double reference, float wanted) {
    return std::abs(reference - wanted) > 0.5;
}

}  // namespace

ReverbState_v2::ReverbState_v2(const ReverbParameters& parameters, const RenderContext& context)
    : ReverbState(parameters.effectType, EffectInput::Reverb, EffectOutput::Field),
      sampleRate(static_cast<float>(context.sampleRate)),
      fullLate(context.useFullLateReflections),
      densityRiseStep(4 * static_cast<float>(context.blockFrames) / sampleRate),
      densityFallStep(densityRiseStep / 2),
      diffusionStep(densityRiseStep / 2),
      listenerBasis(*context.listenerBasis),
      earlyReflections(sampleRate, context.useDirectionalEarlyReflections, context.blockFrames),
      preDelay(sampleRate, fullLate ? fullNetworkDelay : smallNetworkDelay, context.blockFrames),
      echo(sampleRate),
      earlyDiffusers{AllPassFilter(0.01013, sampleRate), AllPassFilter(0.01226, sampleRate),
                     AllPassFilter(0.01426, sampleRate), AllPassFilter(0.01632, sampleRate)},
      combLines(sampleRate, fullLate, context.blockFrames),
      lateDiffusers{AllPassFilter(0.013125, sampleRate), AllPassFilter(0.0116667, sampleRate),
                    AllPassFilter(0.0152083, sampleRate), AllPassFilter(0.00916667, sampleRate)},
      lateInput(context.blockFrames),
      lineOutputs(context.blockFrames, sides),
      output(context.blockFrames, 4),
      fading(GlideFrames(sampleRate, context.blockFrames), 4) {
    buildFilterTables(filterTables, sampleRate, true, context.isRefined);
    outputFilter.type = FilterType::BandPass;
    outputFilter.order = 1;
}

void ReverbState_v2::process(const EffectProcessArgs& args) {
    Begin(args);
    FollowReferences();
    FollowAmounts();
    earlyReflections.Run(parameters, args.input, frames, output);
    preDelay.Run(parameters, args.input[0], frames, lateInput.data);
    ApplyAntiDenormalPattern(lateInput.data, frames);
    echo.Run(parameters, lateInput.data, frames);
    Diffuse();
    RunCombs();
    MixLate();
    AddFiltered(args);
}

// A block may be shorter than the state was made for: the bus keeps its memory and uses less of it.
void ReverbState_v2::Begin(const EffectProcessArgs& args) {
    parameters = static_cast<const ReverbParameters&>(*args.parameters);
    speedOfSound = args.speedOfSound;
    metresPerUnit = args.metresPerUnit;
    frames = args.frames;
    glideFrames = GlideFrames(sampleRate, frames);
    output.frames = frames;
    output.vectors = args.vectors;
    for (std::uint32_t c = 0; c < output.channelCount; ++c)
        std::fill(output.channels[c] + frames, output.channels[c] + std::size_t{4} * output.vectors, 0.0F);
}

void ReverbState_v2::FollowReferences() {
    const bool high = Differs(filterTables.hfReference, parameters.hfReference);
    const bool low = Differs(filterTables.lfReference, parameters.lfReference);
    referencesMoved = high || low;
    if (!referencesMoved) return;
    previousTables = filterTables;
    if (high) setHFReference(filterTables, parameters.hfReference, true, sampleRate);
    if (low) setLFReference(filterTables, parameters.lfReference, true, sampleRate);
    combLines.ForgetTables();
}

void ReverbState_v2::FollowAmounts() {
    const float density = parameters.density;
    currentDensity =
        currentDensity < 0 ? density : Toward(currentDensity, density, densityRiseStep, densityFallStep);
    activeLines = static_cast<float>(combLines.lineCount - 2) * currentDensity + 2;
    const float diffusion = parameters.diffusion;
    currentDiffusion =
        currentDiffusion < 0 ? diffusion : Toward(currentDiffusion, diffusion, diffusionStep, diffusionStep);
}

void ReverbState_v2::Diffuse() {
    for (AllPassFilter& diffuser : earlyDiffusers)
        diffuser.Run(lateInput.data, frames, currentDiffusion, glideFrames);
    ApplyAntiDenormalPattern(lateInput.data, frames);
}

void ReverbState_v2::RunCombs() {
    combLines.Set(Decay(), activeLines, filterTables);
    combLines.Run(lateInput.data, frames, lineOutputs.channels);
    for (std::uint32_t i = 0; i < sides; ++i)
        lateDiffusers[i].Run(lineOutputs.channels[i], frames, currentDiffusion, glideFrames);
}

CombDecay ReverbState_v2::Decay() const {
    const double time = double{parameters.decayTime} * sampleRate;
    return {.time = time,
            .highTime = std::min(parameters.decayHFRatio * time, HighTimeLimit()),
            .lowTime = parameters.decayLFRatio * time,
            .highAngle = ReferenceAngle(parameters.hfReference, sampleRate),
            .lowAngle = ReferenceAngle(parameters.lfReference, sampleRate)};
}

// The time in which air alone takes 60 dB of the high frequencies, in samples.
double ReverbState_v2::HighTimeLimit() const {
    if (!parameters.decayHFLimit) return noLimit;
    const double decibelsPerMetre = 20 * std::log10(double{parameters.airAbsorptionGainHF});
    const double metresPerSample = double{metresPerUnit} * speedOfSound / sampleRate;
    const double limit = -60 / (decibelsPerMetre * metresPerSample);
    return limit > 0 ? limit : noLimit;
}

ReverbState_v2::LateGains ReverbState_v2::LateGainsNow() const {
    const auto& [right, up, front] = parameters.lateReverbPan;
    const Vector3 pan{front, -right, up};
    const float panned = std::sqrt(right * right + up * up + front * front) + 1e-20F;
    const float level = (fullLate ? fullLateGain : smallLateGain) / activeLines * parameters.lateReverbGain;
    const float spread = (1 - panned) * currentDensity;
    LateGains gains{};
    for (std::uint32_t i = 0; i < sides; ++i) {
        const Vector3& t = tetrahedron[i];
        const Vector3 direction{Dot(listenerBasis.back, t), Dot(listenerBasis.right, t),
                                -Dot(listenerBasis.up, t)};
        gains[i][0] = fullLate ? level * (0.4F * panned + 0.6F) : level;
        for (std::uint32_t axis = 0; axis < 3; ++axis)
            gains[i][axis + 1] = level * (pan[axis] + spread * direction[axis]);
    }
    return gains;
}

void ReverbState_v2::MixLate() {
    const LateGains gains = LateGainsNow();
    // What comes after it is mixed in whole groups of four.
    const std::uint32_t fade = lateStarted && gains != lateGains ? glideFrames - glideFrames % 4 : 0;
    FadeLate(lateGains, gains, fade);
    lateGains = gains;
    lateStarted = true;
    std::array<float*, 4> channels{};
    std::array<const float*, sides> sources{};
    for (std::uint32_t i = 0; i < 4; ++i) {
        channels[i] = output.channels[i] + fade;
        sources[i] = lineOutputs.channels[i] + fade;
    }
    hcml::MixSources(
        {channels.data(), 4, sources.data(), sides, gains[0].data(), 4, output.vectors - fade / 4});
}

void ReverbState_v2::FadeLate(const LateGains& from, const LateGains& to, std::uint32_t count) {
    for (std::uint32_t s = 0; s < sides; ++s)
        for (std::uint32_t c = 0; c < 4; ++c) {
            const BlockGlide gain(from[s][c], to[s][c], count);
            const float* source = lineOutputs.channels[s];
            float* target = output.channels[c];
            for (std::uint32_t i = 0; i < count; ++i)
                target[i] += gain.At(i) * source[i];
        }
}

// The gains slew, but other references would step: the output fades from the filter with the old ones.
bool ReverbState_v2::Filter(float slotGain) {
    outputFilter.gain = parameters.gain;
    outputFilter.gainHF = parameters.gainHF;
    outputFilter.gainLF = parameters.gainLF;
    const FilterStageSettings settings{.gainFactor = slotGain};
    if (referencesMoved && outputFilterState.channelCount > 0) return FilterAnew(settings);
    return filterChannels(outputFilter, outputFilterState, output, output, filterTables, settings);
}

bool ReverbState_v2::FilterAnew(const FilterStageSettings& settings) {
    fading.frames = glideFrames;
    fading.vectors = (glideFrames + 3) / 4;
    for (std::uint32_t c = 0; c < 4; ++c)
        std::copy_n(output.channels[c], glideFrames, fading.channels[c]);
    SourceFilterState oldState = outputFilterState;
    const bool wasSilent = filterChannels(outputFilter, oldState, fading, fading, previousTables, settings);
    const bool isSilent =
        filterChannels(outputFilter, outputFilterState, output, output, filterTables, settings);
    if (wasSilent || isSilent) return true;  // the gains are the same: both or neither
    for (std::uint32_t c = 0; c < 4; ++c)
        FadeFrom(fading.channels[c], output.channels[c], glideFrames);
    return false;
}

void ReverbState_v2::AddFiltered(const EffectProcessArgs& args) {
    const bool isSilent = Filter(args.slotGain);
    if (isSilent) return;
    for (std::uint32_t c = 0; c < 4; ++c)
        hcml::MultiplyAddRow(args.output[c], output.channels[c], 1, output.vectors);
}

}  // namespace goal::fx
