#pragma once

// Cascades of three second-order recursive sections on several rows, run side by side in the lanes of
// vectors, for one alone waits out the time of a product and a sum in every frame. Called on the audio thread
// by the equalizer. Nothing is allocated, and every vector target gives the same bits.

#include <cstdint>

#include "slib/realtime.h"

namespace hcml {

/// Of (b0 + b1/z + b2/z²) / (1 + a1/z + a2/z²).
struct SecondOrderCoefficients {
    double a1 = 0, a2 = 0;
    double b1 = 0, b2 = 0, b0 = 1;
};

/// In double precision throughout: what the memory of a narrow resonance holds is a million times its input.
struct SecondOrderSection : SecondOrderCoefficients {
    double s0 = 0, s1 = 0;  ///< the inner values w of the last frame and of the one before
};

inline constexpr std::uint32_t sectionsPerCascade = 3;

/// One row and its sections. The rows of a call are of different samples and sections.
struct CascadeRow {
    const float* input;
    float* output;
    SecondOrderSection* sections;  ///< sectionsPerCascade of them
};

/// On `frames` samples of each of the `count` rows, through the sections in order
///
///     w = (x - a2 * s1) - a1 * s0;  y = (b1 * s0 + b2 * s1) + b0 * w;  s1 = s0;  s0 = w;  x = y
///
/// and adds the last y, rounded to a float, times `gain`, to the output. Quickest with multiples of eight
/// rows and of four frames; any number of either is right. Any alignment will do. Doesn't flush denormal
/// values.
void AddCascades(const CascadeRow* rows, std::uint32_t count, std::uint32_t frames,
                 float gain) SLIB_NONBLOCKING;

}  // namespace hcml
