#include "goal/fx/latepredelay_v2.h"

#include <algorithm>
#include <cmath>

#include "goal/dsp/finitesamples.h"

namespace goal::fx {
namespace {

constexpr float deepest = 0.025F;                      // seconds
constexpr double longestWait = 0.3 + 0.1 + 2 * 0.025;  // seconds

// The samples that interpolation needs on the new side.
constexpr float samplesAhead = 2;

// Lagrange's polynomial of the fifth degree through six samples, `newest` to `newest` + 5 samples ago, at
// 2 + t samples before the newest.
float Between(const DelayRing<float>& ring, std::uint32_t newest, float t) {
    const float a = t + 2, b = t + 1, c = t - 1, d = t - 2, e = t - 3;
    const float ab = a * b, de = d * e, tc = t * c;
    return (b * tc * de * (-1.0F / 120) * ring[newest] + a * tc * de * (1.0F / 24) * ring[newest + 1]) +
           (ab * c * de * (-1.0F / 12) * ring[newest + 2] + ab * t * de * (1.0F / 12) * ring[newest + 3]) +
           (ab * tc * e * (-1.0F / 24) * ring[newest + 4] + ab * tc * d * (1.0F / 120) * ring[newest + 5]);
}

}  // namespace

LatePreDelay_v2::LatePreDelay_v2(float sampleRate, std::uint32_t blockFrames, const CrossfadeCourse& course)
    : sampleRate(sampleRate),
      course(course),
      ring(static_cast<std::uint32_t>(longestWait * sampleRate) + 8 + blockFrames),
      sines(blockFrames),
      fading(blockFrames) {}

LatePreDelay_v2::Wait LatePreDelay_v2::WaitFor(const ReverbParametersBase& parameters) const {
    Wait wait;
    wait.base = std::round((parameters.reflectionsDelay + parameters.lateReverbDelay) * sampleRate);
    wait.depth = parameters.modulationDepth * deepest * sampleRate;
    if (wait.depth == 0) return wait;
    wait.base = std::max(wait.base, wait.depth + samplesAhead);
    wait.step = static_cast<Phase>(0x1p32 / (double{parameters.modulationTime} * sampleRate));
    return wait;
}

void LatePreDelay_v2::Run(const ReverbParametersBase& parameters, const float* input, std::uint32_t frames,
                          float* output) {
    fade.Follow(WaitFor(parameters));
    WriteFinite(ring, input, frames);
    FillSines(frames);
    Read(fade.to, frames, output);
    if (fade.isFading) {
        Read(fade.from, frames, fading.data);
        Blend(course.From(fade.position), fading.data, output, frames);
    }
    fade.Advance(frames, course);
}

void LatePreDelay_v2::FillSines(std::uint32_t frames) {
    const auto change = static_cast<float>(static_cast<std::int32_t>(fade.to.step - fade.from.step));
    const float* const weights = course.From(fade.position);
    for (std::uint32_t i = 0; i < frames; ++i) {
        sines.data[i] = SineAt(phase);
        phase += fade.to.step;
        if (fade.isFading) phase -= static_cast<Phase>(static_cast<std::int32_t>(change * (1 - weights[i])));
    }
}

void LatePreDelay_v2::Read(const Wait& wait, std::uint32_t frames, float* output) const {
    if (wait.depth == 0) return ring.ReadAll(static_cast<std::uint32_t>(wait.base), output, frames);
    for (std::uint32_t i = 0; i < frames; ++i) {
        const float delay = wait.base + wait.depth * sines.data[i] - samplesAhead;
        const auto whole = static_cast<std::uint32_t>(std::max(delay, 0.0F));
        output[i] = Between(ring, whole + (frames - 1 - i), delay - static_cast<float>(whole));
    }
}

}  // namespace goal::fx
