#pragma once

// What a room is measured by, from its impulse response: decay times by band, echo density, levels, when it
// begins. For the tests and for the table of docs/sound.md.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <utility>
#include <vector>

#include "tests/support/noise.h"

namespace testing_support {

/// A band of about an octave around `frequency`, or of a fraction of one: three resonances in a row.
inline std::vector<double> Band(const Signal& signal, double frequency, double rate, double octaves = 1) {
    std::vector<double> samples(signal.begin(), signal.end());
    const double w = 2 * std::numbers::pi * frequency / rate, alpha = octaves * std::sin(w) / 3.8;
    for (int pass = 0; pass < 3; ++pass) {
        double x1 = 0, x2 = 0, y1 = 0, y2 = 0;
        for (double& x : samples) {
            const double y =
                (alpha * (x - x2) + 2 * std::cos(w) * y1 - (1 - alpha) * y2) / (1 + alpha) + 1e-300;
            x2 = std::exchange(x1, x);
            y2 = std::exchange(y1, y);
            x = y;
        }
    }
    return samples;
}

/// Seconds for 60 dB, by Schroeder's backward integration (1965) and the slope from `first` to `last` dB.
inline double DecayTime(const std::vector<double>& samples, double rate, double first = -5,
                        double last = -35) {
    std::vector<double> energy(samples.size() + 1);
    for (std::size_t i = samples.size(); i-- > 0;)
        energy[i] = energy[i + 1] + samples[i] * samples[i];
    double n = 0, t = 0, l = 0, tt = 0, tl = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (energy[i] <= 0) break;
        const double time = static_cast<double>(i) / rate, level = 10 * std::log10(energy[i] / energy[0]);
        if (level > first || level < last) continue;
        n += 1, t += time, l += level, tt += time * time, tl += time * level;
    }
    return -60 * (n * tt - t * t) / (n * tl - t * l);
}

template <typename Samples>
double Energy(const Samples& samples) {
    double sum = 0;
    for (const auto sample : samples)
        sum += double{sample} * double{sample};
    return sum;
}

/// Normalized echo density (Abel and Huang, 2006) in a window of 20 ms around a moment in seconds: 1 for
/// Gaussian noise. Each sample counts by the window's weight, a Hann window's.
inline double EchoDensity(const Signal& signal, double moment, double rate) {
    const auto half = static_cast<std::ptrdiff_t>(0.01 * rate);
    const auto middle = static_cast<std::ptrdiff_t>(moment * rate);
    double weights = 0, power = 0, outside = 0;
    const auto weight = [&](std::ptrdiff_t i) {
        return 0.5 + 0.5 * std::cos(std::numbers::pi * static_cast<double>(i) / static_cast<double>(half));
    };
    const auto at = [&](std::ptrdiff_t i) { return double{signal[static_cast<std::size_t>(middle + i)]}; };
    for (std::ptrdiff_t i = -half; i <= half; ++i) {
        weights += weight(i);
        power += weight(i) * at(i) * at(i);
    }
    for (std::ptrdiff_t i = -half; i <= half; ++i)
        if (at(i) * at(i) > power / weights) outside += weight(i);
    return outside / weights / std::erfc(std::numbers::sqrt2 / 2);
}

/// The frame in which a response first is above `share` of its peak.
inline std::size_t Onset(const Signal& signal, double share = 0.05) {
    float peak = 0;
    for (const float sample : signal)
        peak = std::max(peak, std::abs(sample));
    const auto found = std::find_if(signal.begin(), signal.end(), [&](float sample) {
        return std::abs(sample) > static_cast<float>(share) * peak;
    });
    return static_cast<std::size_t>(found - signal.begin());
}

}  // namespace testing_support
