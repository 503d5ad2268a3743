#pragma once

// Signals that tests feed, and what they measure of what comes out.

#include <gmock/gmock.h>

#include <cmath>
#include <complex>
#include <cstddef>
#include <span>
#include <vector>

#include "tests/support/noise.h"

namespace testing_support {

using Channels = std::vector<Signal>;  ///< all of one length

inline Signal Noise(std::size_t frames, unsigned seed = 5) {
    return Noise<Signal>(static_cast<std::uint32_t>(frames), seed);
}

/// The silence of a signal of `frames` frames but for a 1 at frame `at`.
inline Signal Impulse(std::size_t frames, std::size_t at = 0) {
    Signal signal(frames);
    signal[at] = 1;
    return signal;
}

/// A sine of amplitude 1 at an angle per sample.
inline Signal Sine(std::size_t frames, double angle, double phase = 0) {
    Signal signal(frames);
    for (std::size_t i = 0; i < frames; ++i)
        signal[i] = static_cast<float>(std::sin(angle * static_cast<double>(i) + phase));
    return signal;
}

/// The spectrum of a signal at an angle per sample.
inline std::complex<double> SpectrumAt(std::span<const float> signal, double angle) {
    std::complex<double> sum = 0, turn = 1;
    for (const float sample : signal) {
        sum += double{sample} * turn;
        turn *= std::polar(1.0, -angle);
    }
    return sum;
}

/// Matches a signal of the same length as `expected` that is this near to it everywhere.
inline auto IsNear(float tolerance, const Signal& expected) {
    return testing::Pointwise(testing::FloatNear(tolerance), expected);
}

}  // namespace testing_support
