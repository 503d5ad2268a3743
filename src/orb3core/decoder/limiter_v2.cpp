#include "orb3core/decoder/limiter_v2.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "numeric/kernels/gainkernel.h"
#include "orb3core/decoder/cleanpeak.h"

namespace orb3 {
namespace {

constexpr float ceiling = 0.9F;
constexpr double shortestStep = 0.0001;  // s
constexpr double holdTime = 0.05;        // s, a period of 20 Hz
constexpr double riseSpeed = 40;         // dB a second

float GainFor(float peak) {
    return peak > ceiling ? ceiling / peak : 1.0F;
}

}  // namespace

Limiter_v2::Limiter_v2(double sampleRate)
    : sampleRate(sampleRate), holdFrames(static_cast<std::uint32_t>(sampleRate * holdTime) + 1) {}

float Limiter_v2::limit(float* block, std::uint32_t frames, std::uint32_t channels) {
    const float peak = CleanPeak(block, std::size_t{frames} * channels);
    const bool isQuiet = peak <= ceiling && current <= ceiling && before <= ceiling;
    if (frames == 0 || (isQuiet && gain == 1)) return peak;
    const std::uint32_t steps = FindPeaks(block, frames, channels);
    HoldPeaks(steps, frames);
    DrawGains(steps);
    Apply(block, frames, channels, steps);
    return peak;
}

// Returns the number of steps.
std::uint32_t Limiter_v2::FindPeaks(const float* block, std::uint32_t frames, std::uint32_t channels) {
    const auto shortest = static_cast<std::uint32_t>(sampleRate * shortestStep + 0.5);
    stepFrames = std::max({1U, shortest, (frames + mostSteps - 1) / mostSteps});
    std::uint32_t steps = 0;
    for (std::uint32_t from = 0; from < frames; from += stepFrames, ++steps) {
        const std::size_t begin = std::size_t{from} * channels;
        const std::size_t end = std::size_t{std::min(from + stepFrames, frames)} * channels;
        float greatest = 0;
        for (std::size_t i = begin; i < end; ++i)
            greatest = std::max(greatest, std::fabs(block[i]));
        peaks[steps] = greatest;
    }
    return steps;
}

void Limiter_v2::HoldPeaks(std::uint32_t steps, std::uint32_t frames) {
    for (std::uint32_t step = 0; step < steps; ++step) {
        if (held >= holdFrames) {
            before = current;
            current = 0;
            held = 0;
        }
        current = std::max(current, peaks[step]);
        held += std::min(stepFrames, frames - step * stepFrames);
        longest[step] = GainFor(std::max(current, before));
    }
}

// From the gain of the block before along the steepest descent that a place further on asks for, else up, as
// far as the held peaks allow.
void Limiter_v2::DrawGains(std::uint32_t steps) {
    const auto rise = static_cast<float>(std::pow(10, riseSpeed / 20 * stepFrames / sampleRate));
    // What both steps that meet at a place allow.
    const auto allowed = [&](std::uint32_t place) {
        const float next = place < steps ? peaks[place] : 0;
        return GainFor(place > 0 ? std::max(peaks[place - 1], next) : next);
    };
    gains[0] = std::min(gain, allowed(0));
    for (std::uint32_t place = 0; place < steps;) {
        const float from = gains[place];
        float slope = 0;
        std::uint32_t target = place;
        for (std::uint32_t ahead = place + 1; ahead <= steps; ++ahead) {
            const float needed = (allowed(ahead) - from) / static_cast<float>(ahead - place);
            if (needed < slope) slope = needed, target = ahead;
        }
        if (target == place) {
            const float up = std::max(from, std::min(from * rise, longest[place]));
            ++place;
            gains[place] = std::min(up, allowed(place));
            continue;
        }
        for (std::uint32_t next = place + 1; next < target; ++next)
            gains[next] = from + slope * static_cast<float>(next - place);
        place = target;
        gains[place] = allowed(place);
    }
    gain = gains[steps];
}

// In a line from place to place.
void Limiter_v2::Apply(float* block, std::uint32_t frames, std::uint32_t channels,
                       std::uint32_t steps) const {
    for (std::uint32_t step = 0; step < steps; ++step) {
        const std::uint32_t count = std::min(stepFrames, frames - step * stepFrames);
        float* samples = block + std::size_t{step} * stepFrames * channels;
        const float from = gains[step];
        const float slope = (gains[step + 1] - from) / static_cast<float>(count);
        if (slope == 0) {
            if (from != 1) hcml::MultiplySamples(samples, samples, from, std::size_t{count} * channels);
            continue;
        }
        for (std::uint32_t frame = 0; frame < count; ++frame, samples += channels) {
            const float factor = from + slope * static_cast<float>(frame);
            for (std::uint32_t channel = 0; channel < channels; ++channel)
                samples[channel] *= factor;
        }
    }
}

}  // namespace orb3
