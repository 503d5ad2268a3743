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

TEST(DirectionPolynomials, OfAnyOrder_EqualThePolynomialsWrittenOutAndNothingStandsBehind) {
    for (double azimuth = -3.1; azimuth < 3.2; azimuth += 0.37) {
        for (double z = -0.99; z < 1; z += 0.15) {
            const double x = std::sqrt(1 - z * z) * std::cos(azimuth);
            const double y = std::sqrt(1 - z * z) * std::sin(azimuth);
            const std::array<double, 25> expected = WrittenOut(x, y, z);
            for (unsigned order = 0; order <= 4; ++order) {
                std::array<float, 25> full{}, single{};
                hcml::directionPolynomials(x, y, z, order, full.data());
                hcml::directionPolynomials(float(x), float(y), float(z), order, single.data());
                for (std::size_t i = 0; i < 25; ++i) {
                    const bool isWritten = i < std::size_t{order + 1} * (order + 1);
                    EXPECT_NEAR(full[i], isWritten ? expected[i] : 0, isWritten ? 6e-8 : 0) << i;
                    EXPECT_NEAR(single[i], isWritten ? expected[i] : 0, isWritten ? 1e-6 : 0) << i;
                }
            }
        }
    }
}

}  // namespace
