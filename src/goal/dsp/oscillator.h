#pragma once

// The oscillators of the chorus, the flanger and the ring modulator. A phase is an integer fraction of a
// turn: it wraps by itself, never drifts, and the waves over it take neither a branch nor a library call, so
// that a loop over them runs in vectors. Owned by one effect, on the server's thread; nothing is allocated.

#include <cmath>
#include <cstdint>

#include "slib/realtime.h"

namespace goal {

/// In units of 2^-32 of a turn.
using Phase = std::uint32_t;

/// Rises from 0 to 1 at half a turn, and on from -1 to 0.
inline float SawtoothAt(Phase phase) {
    return static_cast<float>(static_cast<std::int32_t>(0 - phase)) * -0x1p-31F;
}

/// 1 up to half a turn and -1 after it.
inline float SquareAt(Phase phase) {
    return static_cast<std::int32_t>(0 - phase) > 0 ? -1.0F : 1.0F;
}

/// From 0 to 1 at a quarter of a turn, to -1 at three quarters and back to 0.
inline float TriangleAt(Phase phase) {
    constexpr Phase quarter = 0x40000000;
    return std::abs(static_cast<float>(static_cast<std::int32_t>(phase + quarter))) * 0x1p-30F - 1;
}

/// The sine, within 2e-7: sin(t * pi/2) of the triangle t, by its expansion in Chebyshev polynomials (Jacobi
/// and Anger) up to the ninth, sorted by powers.
inline float SineAt(Phase phase) {
    const float t = TriangleAt(phase);
    const float t2 = t * t;
    return t * (1.5707963F +
                t2 * (-0.64596336F + t2 * (0.07968848F + t2 * (-0.0046722203F + t2 * 0.00015081716F))));
}

/// A phase that moves by an even step from sample to sample.
class Oscillator {
public:
    /// The step of a frequency of 0 Hz or more.
    static std::uint64_t StepOf(double frequency, double sampleRate) {
        return Wrapped(frequency / sampleRate);
    }

    /// The phase of the first sample that Fill writes, and the step from there to the next.
    Phase First() const { return High(phase); }
    static Phase SmallStep(std::uint64_t step) { return High(step + (1ULL << 31)); }

    /// Writes the waves of `count` samples from the phase, `ahead` turns on, in steps of `step`; the phase
    /// stays. The step is rounded, by 2^-33 of a turn: keep the count small.
    template <typename Wave>
    void Fill(float* values, std::uint32_t count, std::uint64_t step, double ahead,
              Wave wave) const SLIB_NONBLOCKING {
        const Phase first = High(phase + Wrapped(ahead));
        const Phase small = High(step + (1ULL << 31));
        for (std::uint32_t i = 0; i < count; ++i)
            values[i] = wave(first + i * small);
    }

    /// The same with the sample's own `ahead`, from -1 to 1 turns.
    template <typename Wave>
    void FillAhead(float* values, std::uint32_t count, std::uint64_t step, const float* ahead,
                   Wave wave) const SLIB_NONBLOCKING {
        const Phase first = First();
        const Phase small = SmallStep(step);
        for (std::uint32_t i = 0; i < count; ++i)
            values[i] = wave(first + i * small +
                             4 * static_cast<Phase>(static_cast<std::int32_t>(ahead[i] * 0x1p30F)));
    }

    void Advance(std::uint32_t count, std::uint64_t step) { phase += count * step; }

private:
    static std::uint64_t Wrapped(double turns) {
        // Not * 2^64: a fraction that rounds to 1 has to wrap.
        return static_cast<std::uint64_t>((turns - std::floor(turns)) * 0x1p63) << 1;
    }
    static Phase High(std::uint64_t value) { return static_cast<Phase>(value >> 32); }

    std::uint64_t phase = 0;  // in units of 2^-64 of a turn
};

}  // namespace goal
