#pragma once

// The one-pole filters of the effects: y = a*x + b*y1, with a + b = 1, which passes constants at 1 and is
// what its input lacks as a high-pass. Coefficients are designed once a block on the server's thread.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>

#include "goal/dsp/antidenormal.h"

namespace goal {

struct OnePole {
    double a = 1;
    double b = 0;
};

/// A frequency in Hz as an angle per sample. What lies above half the rate counts as half the rate, where a
/// formula over the cosine would turn back.
inline double AngleBelowNyquist(double frequency, double sampleRate) {
    return 2 * std::numbers::pi * std::min(frequency / sampleRate, 0.5);
}

/// Half the power, -3.01 dB, at `angle`: with e = 1 - cos(angle), b is the root of b² - 2(1 + e)b + 1 inside
/// the unit circle.
inline OnePole OnePoleOfCutoff(double angle) {
    const double e = 1 - std::cos(angle);
    const double a = std::sqrt(e * (2 + e)) - e;
    return {a, 1 - a};
}

/// sqrt(G*(c² - 1) + 2*(1 - c)), what the poles for a squared gain G at the cosine c of an angle come from.
inline double OnePoleRoot(double squaredGain, double cosine) {
    return std::sqrt((1 - cosine) * (2 - squaredGain * (1 + cosine)));
}

/// The gain h, below 1, at `angle`: with G = h² and c = cos(angle), b is the root of (1 - G)b² - 2(1 - cG)b +
/// (1 - G) inside the unit circle, in the form that doesn't cancel.
inline OnePole OnePoleOfGain(double gain, double angle) {
    const double squared = gain * gain;
    const double c = std::cos(angle);
    const double b = (1 - squared) / ((1 - c * squared) + gain * OnePoleRoot(squared, c));
    return {1 - b, b};
}

/// The filter as it runs on rows.
struct OnePoleLowPass {
    double memory = 0;

    /// In place, with b = `pole` and a = 1 - b. Two samples at a time, each from the one before both, so that
    /// the next pair waits out two operations and not four.
    void Run(double pole, float* samples, std::uint32_t count) {
        const double a = 1 - pole, square = pole * pole;
        double y = memory;
        std::uint32_t i = 0;
        for (; i + 2 <= count; i += 2) {
            const double x0 = a * samples[i], x1 = a * samples[i + 1];
            const double first = x0 + pole * y;
            y = (x1 + pole * x0) + square * y;
            samples[i] = static_cast<float>(first);
            samples[i + 1] = static_cast<float>(y);
        }
        if (i < count) {
            y = a * samples[i] + pole * y;
            samples[i] = static_cast<float>(y);
        }
        memory = y;
    }
};

using goal::KeptInMemory;

/// What a recursive memory in double precision keeps for the next block: nothing of a value that has died
/// away or isn't finite, and all of any other.
inline double KeptInMemory(double value) {
    return KeptInMemory(static_cast<float>(value)) == 0 ? 0 : value;
}

}  // namespace goal
