#include "goal/fx/reverbecho_v2.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "goal/dsp/antidenormal.h"

namespace goal::fx {
namespace {

constexpr double longestEcho = 0.25;  // seconds

// All over the room's decay time: a room whose energy falls as exp(-rate·t), and in which an echo comes every
// `spacing`, each with `share` of the energy that the room has left then. What is still to be heard after t.
double EnergyAfter(double t, double spacing, double share) {
    const double rate = 6 * std::numbers::ln10;
    double before = 0, after = 0, weight = 1;
    for (double start = 0; start < 2 && weight > 1e-6; start += spacing, weight *= share)
        if (start <= t)
            before += weight;
        else
            after += weight * std::exp(-rate * start);
    return before * std::exp(-rate * t) + after;
}

// When it has fallen by so many dB.
double FallTime(double decibels, double spacing, double share) {
    const double wanted = EnergyAfter(0, spacing, share) * std::pow(10.0, -decibels / 10);
    double low = 0, high = 4;
    for (int i = 0; i < 24; ++i) {
        const double t = (low + high) / 2;
        (EnergyAfter(t, spacing, share) > wanted ? low : high) = t;
    }
    return low;
}

}  // namespace

RoomDecay DecayWithEchoes(const RoomEcho& echo) {
    RoomDecay decay = echo.decay;
    const double share = echo.Share() * echo.Share();
    if (share == 0) return decay;
    // From 5 to 35 dB, where decay times are measured. A line through all of the steps between is less bent
    // than one through these two points, by a quarter.
    const double spacing = echo.time / decay.time;
    const double slope = 0.5 / (FallTime(35, spacing, share) - FallTime(5, spacing, share));
    const double scale = 1 + 0.75 * (slope - 1);
    decay.time *= scale;
    decay.highTime *= scale;
    decay.lowTime *= scale;
    return decay;
}

ReverbEcho_v2::ReverbEcho_v2(float sampleRate, std::uint32_t blockFrames, const CrossfadeCourse& course)
    : sampleRate(sampleRate),
      course(course),
      ring(static_cast<std::uint32_t>(longestEcho * sampleRate + 1.5) + blockFrames),
      sums(blockFrames),
      oldSums(blockFrames) {}

ReverbEcho_v2::Repeat ReverbEcho_v2::RepeatFor(const RoomEcho& echo) const {
    Repeat repeat;
    repeat.delay = static_cast<std::uint32_t>(echo.time * sampleRate) + 1;
    repeat.factor = static_cast<float>(-echo.Share());
    const double left = EnergyLeft(repeat.delay, echo.decay.time, sampleRate);
    repeat.level = static_cast<float>(std::sqrt(1 - echo.Share() * echo.Share() * left));
    // Where shelves of the second order aren't steep enough for all of it, a filter for half the time, twice.
    const std::uint32_t passes = repeat.delay > LongestLine(echo.decay) * sampleRate ? 2 : 1;
    const LineLengths lengths{.delay = repeat.delay / passes};
    const std::array<Biquad, 2> filter = DesignAbsorption(echo.decay, sampleRate, lengths).Biquads();
    repeat.sectionCount = 2 * passes;
    for (std::uint32_t k = 0; k < repeat.sectionCount; ++k)
        repeat.absorption[k] = filter[k % 2];
    return repeat;
}

void ReverbEcho_v2::Run(const RoomEcho& echo, float* samples, std::uint32_t frames) {
    if (fade.Follow(echo)) {
        old = now;
        now = RepeatFor(echo);
    }
    for (std::uint32_t i = 0; i < frames;) {
        const std::uint32_t count = std::min({frames - i, now.delay, fade.isFading ? old.delay : now.delay});
        Sum(now, samples + i, count, sums.data);
        if (fade.isFading) {
            Sum(old, samples + i, count, oldSums.data);
            Blend(course.From(fade.position), oldSums.data, sums.data, count);
        }
        std::transform(sums.data, sums.data + count, samples + i, WithoutDenormal);
        ring.WriteAll(samples + i, count);
        fade.Advance(count, course);
        i += count;
    }
}

void ReverbEcho_v2::Sum(Repeat& repeat, const float* samples, std::uint32_t count, float* sum) const {
    if (repeat.factor == 0) {
        std::copy_n(samples, count, sum);
        return;
    }
    ring.ReadAll(repeat.delay - count, sum, count);
    for (std::uint32_t k = 0; k < repeat.sectionCount; ++k)
        repeat.absorption[k].Run(sum, count);
    for (std::uint32_t k = 0; k < count; ++k)
        sum[k] = sum[k] * repeat.factor + samples[k] * repeat.level;
}

}  // namespace goal::fx
