#include "goal/fx/reverbecho.h"

#include <algorithm>
#include <cmath>

#include "goal/dsp/antidenormal.h"
#include "goal/dsp/blockglide.h"

namespace goal::fx {
namespace {

constexpr double longest = 0.25;  // seconds

// A run in which no sample that is read is written too. The rows don't overlap.
void RunEcho(float* __restrict samples, const float* __restrict past, float* __restrict ahead,
             std::uint32_t count, float f, float step) {
    for (std::uint32_t i = 0; i < count; ++i) {
        const float factor = f + step * static_cast<float>(static_cast<std::int32_t>(i));
        const float y = WithoutDenormal(past[i] * factor + samples[i]);
        ahead[i] = y;
        samples[i] = y;
    }
}

}  // namespace

ReverbEcho::ReverbEcho(float sampleRate)
    : sampleRate(sampleRate), echoRing(static_cast<std::uint32_t>(longest * sampleRate + 1.5)) {}

void ReverbEcho::Run(const ReverbParametersBase& parameters, float* samples, std::uint32_t frames) {
    const auto target = static_cast<std::int32_t>(parameters.echoTime * sampleRate);
    const auto decay = static_cast<float>(std::pow(10.0, -3.0 * parameters.echoTime / parameters.decayTime));
    const float next = -decay * parameters.echoDepth * (1 - parameters.diffusion * 0.5F);
    const bool isFirst = currentEchoDelay < 0;
    if (isFirst) currentEchoDelay = target;
    const BlockGlide glide(isFirst ? next : factor, next, GlideFrames(sampleRate, frames));
    factor = next;
    for (std::uint32_t i = 0; i < frames;) {
        const std::uint32_t steady = RunSteps(target, i, glide.EvenFrames(i, frames - i));
        const auto delay = static_cast<std::uint32_t>(currentEchoDelay);
        const std::uint32_t run = std::min({steady, delay + 1, echoRing.RunPast(delay), echoRing.RunAhead()});
        RunEcho(samples + i, echoRing.Past(delay), echoRing.Ahead(), run, glide.At(i), glide.StepAt(i));
        echoRing.Advance(run);
        i += run;
    }
}

// Moves the delay where `frame` is one to move at; the frames from there on, of `count`, with that delay.
std::uint32_t ReverbEcho::RunSteps(std::int32_t target, std::uint32_t frame, std::uint32_t count) {
    if (currentEchoDelay == target) return count;
    if (frame % 4 == 0) currentEchoDelay += currentEchoDelay < target ? 1 : -1;
    return std::min(count, 4 - frame % 4);
}

}  // namespace goal::fx
