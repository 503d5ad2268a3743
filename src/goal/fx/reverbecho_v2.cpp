#include "goal/fx/reverbecho_v2.h"

#include <algorithm>
#include <cmath>

#include "goal/dsp/antidenormal.h"

namespace goal::fx {
namespace {

constexpr double longestEcho = 0.25;  // seconds

}  // namespace

ReverbEcho_v2::ReverbEcho_v2(float sampleRate, std::uint32_t blockFrames, const CrossfadeCourse& course)
    : sampleRate(sampleRate),
      course(course),
      ring(static_cast<std::uint32_t>(longestEcho * sampleRate + 1.5) + blockFrames),
      sums(blockFrames),
      oldSums(blockFrames) {}

ReverbEcho_v2::Repeat ReverbEcho_v2::RepeatFor(const ReverbParametersBase& parameters) const {
    const double decay = std::pow(10.0, -3.0 * parameters.echoTime / parameters.decayTime);
    const double factor = -decay * parameters.echoDepth * (1 - parameters.diffusion * 0.5);
    return {static_cast<std::uint32_t>(parameters.echoTime * sampleRate) + 1, static_cast<float>(factor),
            static_cast<float>(std::sqrt(1 - factor * factor))};
}

void ReverbEcho_v2::Run(const ReverbParametersBase& parameters, float* samples, std::uint32_t frames) {
    fade.Follow(RepeatFor(parameters));
    for (std::uint32_t i = 0; i < frames;) {
        const std::uint32_t count = std::min({frames - i, fade.to.delay, fade.from.delay});
        Repeated(fade.to, samples + i, count, sums.data);
        if (fade.isFading) {
            Repeated(fade.from, samples + i, count, oldSums.data);
            Blend(course.From(fade.position), oldSums.data, sums.data, count);
        }
        std::transform(sums.data, sums.data + count, samples + i, WithoutDenormal);
        ring.WriteAll(samples + i, count);
        fade.Advance(count, course);
        i += count;
    }
}

void ReverbEcho_v2::Repeated(const Repeat& repeat, const float* samples, std::uint32_t count,
                             float* sum) const {
    ring.ReadAll(repeat.delay - count, sum, count);
    for (std::uint32_t k = 0; k < count; ++k)
        sum[k] = sum[k] * repeat.factor + samples[k] * repeat.level;
}

}  // namespace goal::fx
