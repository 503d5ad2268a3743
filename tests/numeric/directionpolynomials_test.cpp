#include "numeric/directionpolynomials.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

namespace {

// Written out in x, y and z, in double precision; one order a line.
std::array<double, 25> WrittenOut(double x, double y, double z) {
    const double c2 = x * x - y * y, s2 = x * y;
    const double c3 = x * x * x - 3 * x * y * y, s3 = 3 * x * x * y - y * y * y;
    const double c4 = std::pow(x, 4) - 6 * x * x * y * y + std::pow(y, 4);
    // clang-format off
    return {1,
            x, y, z,
            s2, c2, x * z, y * z, z * z,
            c3, s3, s2 * z, c2 * z, x * z * z, y * z * z, z * z * z,
            s2 * c2, c4, c3 * z, s3 * z, s2 * z * z, c2 * z * z, x * z * z * z, y * z * z * z, z * z * z * z};
    // clang-format on
}

TEST(DirectionPolynomials, AroundTheSphere_EqualThePolynomialsWrittenOut) {
    for (double azimuth = -3.1; azimuth < 3.2; azimuth += 0.37) {
        for (double z = -0.99; z < 1; z += 0.15) {
            const double x = std::sqrt(1 - z * z) * std::cos(azimuth);
            const double y = std::sqrt(1 - z * z) * std::sin(azimuth);
            const std::array<double, 25> expected = WrittenOut(x, y, z);
            std::array<float, 25> full{}, single{};
            hcml::directionPolynomials(x, y, z, 4, full.data());
            hcml::directionPolynomials(float(x), float(y), float(z), 4, single.data());
            for (std::size_t i = 0; i < 25; ++i) {
                EXPECT_NEAR(full[i], expected[i], 6e-8) << i;
                EXPECT_NEAR(single[i], expected[i], 1e-6) << i;
            }
        }
    }
}

TEST(DirectionPolynomials, LowerOrder_WritesTheHeadOfAHigherAndNothingBehind) {
    std::array<float, 25> full{};
    hcml::directionPolynomials(0.48, -0.6, 0.64, 4, full.data());
    for (unsigned order = 0; order <= 4; ++order) {
        std::array<float, 25> e;
        e.fill(-99.0f);
        hcml::directionPolynomials(0.48, -0.6, 0.64, order, e.data());
        for (unsigned i = 0; i < 25; ++i)
            EXPECT_EQ(e[i], i < (order + 1) * (order + 1) ? full[i] : -99.0f) << i;
    }
}

}  // namespace
