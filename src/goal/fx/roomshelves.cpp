#include "goal/fx/roomshelves.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "goal/dsp/finitesamples.h"

namespace goal::fx {
namespace {

constexpr double leastGain = 0.001;

// How many shelves take which gain at a reference two octaves from the middle with a decibel or two at most
// there.
std::uint32_t ShelvesFor(double gain) {
    if (gain > 0.999) return 0;
    if (gain > 0.25) return 1;
    if (gain > 0.05) return 2;
    return gain > 0.008 ? 3 : 4;
}

void RunAll(Biquad* sections, std::uint32_t count, float* samples, std::uint32_t frames) {
    for (std::uint32_t k = 0; k < count; ++k)
        sections[k].Run(samples, frames);
}

}  // namespace

RoomShelves::RoomShelves(float sampleRate, std::uint32_t channelCount, std::uint32_t blockFrames,
                         const CrossfadeCourse& course)
    : output(blockFrames, channelCount),
      sampleRate(sampleRate),
      course(course),
      fading(blockFrames, channelCount) {}

void RoomShelves::Run(const RoomGains& gains, const float* const* input, std::uint32_t frames) {
    if (fade.Follow(gains)) {
        old = now;
        now = MakeFilter(gains);
    }
    for (std::uint32_t c = 0; c < output.channelCount; ++c) {
        float* const samples = output.channels[c];
        std::transform(input[c], input[c] + frames, samples, FiniteSample);
        if (fade.isFading) {
            std::copy_n(samples, frames, fading.channels[c]);
            RunAll(old.sections[c].data(), old.count, fading.channels[c], frames);
        }
        RunAll(now.sections[c].data(), now.count, samples, frames);
        if (fade.isFading) Blend(course.From(fade.position), fading.channels[c], samples, frames);
    }
    fade.Advance(frames, course);
}

// A filter starts without a memory: while it swells to its output, it is hardly heard.
RoomShelves::Filter RoomShelves::MakeFilter(const RoomGains& gains) const {
    Filter filter;
    AddShelves(filter, gains.high, gains.highReference, true);
    AddShelves(filter, gains.low, gains.lowReference, false);
    return filter;
}

// With x = tan(reference/2) / tan(corner/2) for a high shelf, and the inverse for a low one, the squared gain
// is (1 + p²x⁴) / (1 + x⁴). The end p lies 3 dB beyond the gain g asked for, which makes x⁴ = 2(1 - g²)/g².
void RoomShelves::AddShelves(Filter& filter, double gain, double reference, bool isHigh) const {
    const std::uint32_t count = ShelvesFor(gain);
    if (count == 0) return;
    const double g = std::pow(std::max(gain, leastGain), 1.0 / count);
    const double x = std::sqrt(std::sqrt(2 * (1 - g * g)) / g);
    const double p = g / std::numbers::sqrt2, root = std::sqrt(2 * p);
    const double at = std::tan(std::numbers::pi * std::min(reference / sampleRate, 0.45));
    const double k = isHigh ? at / x : at * x;
    const double divisor = 1 + std::numbers::sqrt2 * k + k * k;
    const double most = isHigh ? p : 1, least = isHigh ? 1 : p;  // of s² and of 1
    Biquad section;
    section.n0 = (most + root * k + least * k * k) / divisor;
    section.n1 = 2 * (least * k * k - most) / divisor;
    section.n2 = (most - root * k + least * k * k) / divisor;
    section.d1 = 2 * (k * k - 1) / divisor;
    section.d2 = (1 - std::numbers::sqrt2 * k + k * k) / divisor;
    for (std::uint32_t i = 0; i < count; ++i, ++filter.count)
        for (auto& ofChannel : filter.sections)
            ofChannel[filter.count] = section;
}

}  // namespace goal::fx
