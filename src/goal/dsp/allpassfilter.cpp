#include "goal/dsp/allpassfilter.h"

#include <algorithm>
#include <cmath>

#include "goal/dsp/antidenormal.h"
#include "goal/dsp/blockglide.h"

namespace goal {
namespace {

constexpr double decaySeconds = 0.3;

std::uint32_t LengthOf(double seconds, float sampleRate) {
    return std::max(static_cast<std::uint32_t>(seconds * sampleRate + 0.5), 1U);
}

// A run in which no sample that is read is written too. The rows don't overlap.
void RunAllPass(float* __restrict samples, const float* __restrict past, float* __restrict ahead,
                std::uint32_t count, float c, float step) {
    for (std::uint32_t i = 0; i < count; ++i) {
        const float factor = c + step * static_cast<float>(static_cast<std::int32_t>(i));
        const float d = past[i];
        const float v = WithoutDenormal(samples[i] + d * factor);
        ahead[i] = v;
        samples[i] = d - factor * v;
    }
}

}  // namespace

AllPassFilter::AllPassFilter(double seconds, float sampleRate)
    : delay(LengthOf(seconds, sampleRate) - 1),
      coefficient(static_cast<float>(-std::pow(10.0, -3 * (delay + 1.0) / (decaySeconds * sampleRate)))),
      ring(static_cast<std::uint32_t>(0.02 * sampleRate + 1.5)) {}

void AllPassFilter::Run(float* samples, std::uint32_t frames, float amount, std::uint32_t glideFrames) {
    const float target = WithoutDenormal(coefficient * amount);
    const BlockGlide glide(started ? current : target, target, glideFrames);
    current = target;
    started = true;
    for (std::uint32_t i = 0; i < frames;) {
        const std::uint32_t run =
            std::min({glide.EvenFrames(i, frames - i), delay + 1, ring.RunPast(delay), ring.RunAhead()});
        RunAllPass(samples + i, ring.Past(delay), ring.Ahead(), run, glide.At(i), glide.StepAt(i));
        ring.Advance(run);
        i += run;
    }
}

}  // namespace goal
