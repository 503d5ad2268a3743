#include "slib/formatduration.h"

#include <gtest/gtest.h>

#include <cmath>

TEST(FormatDuration, EachRange_HasItsUnit) {
    const double seconds[]{std::nan(""), 0,    -0.0005, -0.001, -3700, 2.46,
                           60,           60.5, 3600,    3700,   86401, INFINITY};
    std::string all;
    for (const double each : seconds)
        all += orb3::formatDuration(each) + ", ";
    EXPECT_EQ(
        all,
        "unknown, 0, -5e+02us, -1ms, -3.7e+03s, 2.5s, 60s, 1m 1s, 60m 0s, 1h 1m 40s, 1d 0h 0m 1s, infs, ");
}
