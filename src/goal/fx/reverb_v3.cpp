#include "goal/fx/reverb_v3.h"

#include <algorithm>
#include <cmath>

#include "goal/fx/makestate.h"
#include "numeric/kernels/gainkernel.h"

namespace goal::fx {
namespace {

constexpr double unlimitedSeconds = 1e10;
constexpr std::uint32_t earlyChannels = 4;

}  // namespace

ReverbState_v3::ReverbState_v3(const ReverbParameters& parameters, const RenderContext& context)
    : ReverbState(parameters.effectType, EffectInput::Reverb, EffectOutput::Field),
      sampleRate(static_cast<float>(context.sampleRate)),
      listenerBasis(*context.listenerBasis),
      course(sampleRate, context.blockFrames),
      shelves(sampleRate, context.useDirectionalEarlyReflections ? 4 : 1, context.blockFrames, course),
      early(sampleRate, context.useDirectionalEarlyReflections, context.blockFrames),
      earlyOutput(context.blockFrames, earlyChannels),
      earlyFading(context.blockFrames, earlyChannels),
      preDelay(sampleRate, context.blockFrames, course),
      echo(sampleRate, context.blockFrames, course),
      network(sampleRate, context.useFullLateReflections, context.blockFrames, course),
      directions(network.lineCount, context.order, context.blockFrames, course),
      lateInput(context.blockFrames) {}

void ReverbState_v3::process(const EffectProcessArgs& args) {
    parameters = static_cast<const ReverbParameters&>(*args.parameters);
    speedOfSound = args.speedOfSound;
    metresPerUnit = args.metresPerUnit;
    shelves.Run({parameters.gainHF, parameters.gainLF, parameters.hfReference, parameters.lfReference},
                args.input, args.frames);
    AddEarly(args);
    AddLate(args);
}

void ReverbState_v3::AddEarly(const EffectProcessArgs& args) {
    ReverbParametersBase scaled = parameters;
    scaled.reflectionsGain *= parameters.gain * args.slotGain;
    earlyFade.Follow(early.TapsFor(scaled));
    early.Write(shelves.output.channels, args.frames);
    early.Render(earlyFade.to, {0, args.frames}, args.frames, earlyOutput);
    if (earlyFade.isFading) early.Render(earlyFade.from, {0, args.frames}, args.frames, earlyFading);
    for (std::uint32_t c = 0; c < earlyChannels; ++c) {
        float* const samples = earlyOutput.channels[c];
        if (earlyFade.isFading)
            Blend(course.From(earlyFade.position), earlyFading.channels[c], samples, args.frames);
        std::fill(samples + args.frames, samples + std::size_t{4} * args.vectors, 0.0F);
        hcml::MultiplyAddRow(args.output[c], samples, 1, args.vectors);
    }
    earlyFade.Advance(args.frames, course);
}

void ReverbState_v3::AddLate(const EffectProcessArgs& args) {
    preDelay.Run(parameters, shelves.output.channels[0], args.frames, lateInput.data);
    FollowRoom();
    echo.Run(room, lateInput.data, args.frames);
    network.Run({room.decay, parameters.density, parameters.diffusion}, lateInput.data, args.frames);
    directions.Run(Field(args.slotGain), network.lines, args.output, args.frames, args.vectors);
}

void ReverbState_v3::FollowRoom() {
    const double time = parameters.decayTime;
    const RoomEcho asked{.time = parameters.echoTime,
                         .depth = parameters.echoDepth,
                         .diffusion = parameters.diffusion,
                         .decay = {.time = time,
                                   .highTime = std::min(parameters.decayHFRatio * time, HighTimeLimit()),
                                   .lowTime = parameters.decayLFRatio * time,
                                   .highReference = parameters.hfReference,
                                   .lowReference = parameters.lfReference}};
    if (asked == askedRoom) return;
    askedRoom = room = asked;
    room.decay = DecayWithEchoes(asked);
}

// The seconds in which air alone takes 60 dB of the high frequencies.
double ReverbState_v3::HighTimeLimit() const {
    if (!parameters.decayHFLimit) return unlimitedSeconds;
    const double decibelsPerMetre = 20 * std::log10(double{parameters.airAbsorptionGainHF});
    const double limit = -60 / (decibelsPerMetre * metresPerUnit * speedOfSound);
    return limit > 0 ? std::min(limit, unlimitedSeconds) : unlimitedSeconds;
}

LateField ReverbState_v3::Field(float slotGain) const {
    return {.gain = parameters.lateReverbGain * parameters.gain * slotGain,
            .density = parameters.density,
            .pan = parameters.lateReverbPan,
            .right = listenerBasis.right,
            .up = listenerBasis.up,
            .back = listenerBasis.back};
}

std::unique_ptr<EffectProcessorState> ReverbParameters::createState(const RenderContext& context) const {
    if (context.isRefined) return MakeState<ReverbState_v3>(*this, context);
    return MakeState<ReverbState_v2>(*this, context);
}

}  // namespace goal::fx
