#include "numeric/directionpolynomials.h"

#include <gtest/gtest.h>

#include <array>

namespace {

// What they are is tested with the basis of the bus, whose harmonics they have to be a sum of.
TEST(DirectionPolynomials, OfAnyOrder_BeginThoseOfOrderFourAndNothingStandsBehind) {
    std::array<float, 25> all{};
    const double x = 0.48, y = -0.6, z = 0.64;
    hcml::directionPolynomials(x, y, z, 4, all.data());
    for (unsigned order = 0; order <= 4; ++order) {
        std::array<float, 25> full{}, single{};
        hcml::directionPolynomials(x, y, z, order, full.data());
        hcml::directionPolynomials(float(x), float(y), float(z), order, single.data());
        for (std::size_t i = 0; i < 25; ++i) {
            const bool isWritten = i < std::size_t{order + 1} * (order + 1);
            EXPECT_EQ(full[i], isWritten ? all[i] : 0) << i;
            EXPECT_NEAR(single[i], full[i], isWritten ? 1e-6 : 0) << i;
        }
    }
}

}  // namespace
