#pragma once

// One real spherical harmonic, and its value in a direction. Called when an acoustic model is evaluated and
// at set-up, never on the audio thread. No state; usable from any thread.

#include <cstdint>

namespace hcml {

struct RealSphericalHarmonic {
    std::int32_t l;  ///< degree, 0 and up
    std::int32_t m;  ///< order, -l to l; below 0 the harmonic goes with a sine of the azimuth
    double norm;     ///< sqrt((2l + 1) / 2pi * (l - |m|)! / (l + |m|)!), which makes it orthonormal
};

/// The associated Legendre function P of degree `l` and order `m`, 0 <= m <= l, at x in [-1, 1], with the
/// Condon-Shortley sign (-1)^m. By the recurrence over the degrees (Abramowitz and Stegun 1964, 8.5.3).
double AssociatedLegendre(std::int32_t l, std::int32_t m, double x);

/// The value of `harmonic` at `azimuth` (radians, from forward to the left) and `sineOfElevation`, which is
/// the z of the unit direction, in [-1, 1].
double evaluate(const RealSphericalHarmonic& harmonic, double azimuth, double sineOfElevation);

}  // namespace hcml
