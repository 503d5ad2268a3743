#include "numeric/realsphericalharmonic.h"

#include <cassert>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <utility>

namespace hcml {

double AssociatedLegendre(std::int32_t l, std::int32_t m, double x) {
    assert(0 <= m && m <= l && std::abs(x) <= 1);
    const long double cosine = std::sqrt((1.0L - x) * (1.0L + x));
    long double last = 0, value = 1;  // degrees m - 1, where P counts as 0, and m
    for (std::int32_t k = 0; k < m; ++k)
        value *= -(2.0L * k + 1) * cosine;
    for (std::int32_t degree = m + 1; degree <= l; ++degree) {
        const long double next =
            (x * (2.0L * degree - 1) * value - (0.0L + degree + m - 1) * last) / (degree - m);
        last = std::exchange(value, next);
    }
    return static_cast<double>(value);
}

double evaluate(const RealSphericalHarmonic& harmonic, double azimuth, double sineOfElevation) {
    const std::int32_t m = std::abs(harmonic.m);
    const double along = AssociatedLegendre(harmonic.l, m, sineOfElevation) * harmonic.norm;
    if (m == 0) return along / std::numbers::sqrt2;
    return along * (harmonic.m > 0 ? std::cos(m * azimuth) : std::sin(m * azimuth));
}

}  // namespace hcml
