#include "numeric/bessel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "tests/support/failure.h"

namespace {

TEST(Beschb, IsWhatTheGammaFunctionGives) {
    double gam1, gam2, plus, minus;
    for (const double x : {-0.5, -0.37, 1e-9, 0.25, 0.5}) {
        nrc::beschb(x, gam1, gam2, plus, minus);
        EXPECT_NEAR(plus * std::tgamma(1 + x), 1, 2e-15);
        EXPECT_NEAR(minus * std::tgamma(1 - x), 1, 2e-15);
    }
}

// Fifteen digits of tables, and for the derivatives the Wronskian, 2 / (pi x).
TEST(Bessjy, MeetsPublishedValuesAndTheWronskian) {
    double rj, ry, rjp, ryp;
    struct Row {
        double order, x, j, y;
    };
    const Row rows[] = {{0, 1, 0.765197686557967, 0.088256964215677},
                        {0.25, 0.1, 0.520657875630457, -1.91176832120718},
                        {20, 2, 3.91897280509075e-19, -4.08165138899837e16},
                        {20, 20, 0.164747773775327, -0.285489458600203},
                        {2, 1500, 0.0160686839187261, 0.012892281891749}};
    for (const auto& [xnu, x, j, y] : rows) {
        nrc::bessjy(x, xnu, rj, ry, rjp, ryp);
        EXPECT_NEAR(rj / j, 1, 1e-11) << x;
        EXPECT_NEAR(ry / y, 1, 1e-11) << x;
        EXPECT_NEAR((rj * ryp - rjp * ry) * std::numbers::pi * x / 2, 1, 1e-11) << x;
    }
    nrc::bessjy(1e-310, 20.5, rj, ry, rjp, ryp);
    EXPECT_TRUE(rj == 0 && rjp == 0 && std::isinf(ry) && std::isinf(ryp) && ry < 0 && ryp > 0);
}

TEST(SphericalBessel, DegreeOne_IsTheClosedFormWithAConstantOfEightDigits) {
    double sj, sy, sjp, syp;
    const double x = 2.5, factor = 0.99999997022653847 / x;
    nrc::sphericalBessel(1, x, sj, sy, sjp, syp);
    EXPECT_NEAR(sj, factor * (std::sin(x) / x - std::cos(x)), 1e-12);
    EXPECT_NEAR(sj * syp - sjp * sy, factor * factor, 1e-12);
}

TEST(Bessjy, OutsideItsReach_SaysWhy) {
    const auto failure = [](double x, double xnu) {
        return testing_support::Failure<slib::StringException>([&] { nrc::bessjy(x, xnu, x, x, x, x); });
    };
    EXPECT_EQ(failure(0, 1), "Bad value argument (0) in nrc::bessjy().");
    EXPECT_EQ(failure(1, -0.5), "Bad order argument (-0.5) to nrc::bessjy().");
    for (const auto& [x, xnu] : {std::pair{HUGE_VAL, 0.5}, {1.0, HUGE_VAL}, {1001.0, 400.5}, {999.0, 9999.5}})
        EXPECT_EQ(failure(x, xnu), "The nrc::bessjy() series failed to converge.");
}

}  // namespace
