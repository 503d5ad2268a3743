// AmbiX by its own definition: SN3D harmonics of azimuth and elevation in the order of ACN.

#include "orb3core/acoustics/ambix.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdlib>

#include "numeric/ambisonicorder.h"
#include "numeric/directionpolynomials.h"

namespace orb3 {
namespace {

// sqrt((2 - delta_m) (l - |m|)! / (l + |m|)!) P_l^|m|(sin elevation) times cos or sin of |m| azimuth.
double Harmonic(int l, int m, double azimuth, double elevation) {
    const int size = std::abs(m);
    const double scale = std::sqrt((m == 0 ? 1 : 2) * std::tgamma(l - size + 1) / std::tgamma(l + size + 1));
    const double legendre =
        std::assoc_legendre(static_cast<unsigned>(l), static_cast<unsigned>(size), std::sin(elevation));
    return scale * legendre * (m < 0 ? std::sin(size * azimuth) : std::cos(size * azimuth));
}

TEST(AmbixMatrix, APlaneWaveOnTheBus_HasTheHarmonicsOfItsDirection) {
    for (unsigned order = 1; order <= hcml::highestOrder; ++order) {
        const hcml::GenericMatrix<float, 1> matrix = AmbixMatrix(order);
        for (const auto& [azimuth, elevation] :
             {std::array{0.3, 0.2}, {-2.0, -0.9}, {1.6, 1.2}, {3.0, 0.0}}) {
            std::array<double, hcml::mostBusChannels> bus;
            hcml::directionPolynomials(std::cos(azimuth) * std::cos(elevation),
                                       std::sin(azimuth) * std::cos(elevation), std::sin(elevation), order,
                                       bus.data());
            for (int l = 0; l <= static_cast<int>(order); ++l)
                for (int m = -l; m <= l; ++m) {
                    const auto channel = static_cast<std::uint32_t>(l * l + l + m);
                    double value = 0;
                    for (std::uint32_t b = 0; b < matrix.columns; ++b)
                        value += double{matrix(channel, b)} * bus[b];
                    EXPECT_NEAR(value, Harmonic(l, m, azimuth, elevation), 1e-6)
                        << "degree " << l << ", order " << m;
                }
        }
    }
}

}  // namespace
}  // namespace orb3
