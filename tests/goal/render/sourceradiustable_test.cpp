#include "goal/render/sourceradiustable.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

namespace {

const goal::SourceRadiusTable table(5);

float At(unsigned row, unsigned column) {
    return table.gains[row * 6 + column];
}
double X(double row) {
    return std::exp((row - 161.5) / 32);
}

TEST(SourceRadiusTable, FromTheCentreOut_GoesSmoothlyFromTheMeanToTheDirection) {
    constexpr float atTheEdge[] = {1, 0.40502F, 0.17193F, 0.020708F, -0.018116F, -0.0031691F};
    for (unsigned c = 0; c < 6; ++c) {
        EXPECT_EQ(At(0, c), c == 0 ? 1 : 0);
        EXPECT_EQ(At(160, c), atTheEdge[c]);
        EXPECT_EQ(At(322, c), 1);
        for (unsigned r = 1; r < 322; ++r) {
            const double step = double{At(r + 1, c)} - At(r, c), before = double{At(r, c)} - At(r - 1, c);
            EXPECT_LT(std::abs(step - before), 0.0025) << r << " " << c;
            EXPECT_TRUE(r < 160 || step >= 0) << r << " " << c;
        }
    }
}

TEST(SourceRadiusTable, FarAway_FallsOffWithTheSquareOfTheDistance) {
    for (unsigned c = 1; c < 6; ++c)
        for (unsigned r = 240; r < 322; ++r)  // the known rows are rounded to five digits
            EXPECT_NEAR(1 - At(r, c), 0.45 * c * (c + 1) / 2 / (X(r) * X(r)), 0.023 * (1 - At(r, c)) + 5e-6);
}

TEST(SourceRadiusTable, Lookup_BlendsRowsByTheLogarithmAndHoldsTheEnds) {
    const goal::SourceRadiusTable third(3);
    ASSERT_EQ(third.columnCount, 4U);
    std::array<float, 5> out;
    for (double position : {-400.0, 0.9, 1.0, 77.25, 160.0, 200.5, 321.75, 322.5, 2000.0}) {
        out.fill(-9);
        third.lookupRadiusGains(float(X(position)), out.data());
        const double low = std::floor(position), share = position - low;
        for (unsigned c = 0; c < 4; ++c) {
            const double expected =
                position < 1      ? At(0, c)
                : position >= 322 ? 1
                                  : (1 - share) * At(unsigned(low), c) + share * At(unsigned(low) + 1, c);
            EXPECT_NEAR(out[c], expected, position == 1 ? 1.3e-5 : 2e-6) << position << " " << c;
        }
        EXPECT_EQ(out[4], -9);
    }
}

}  // namespace
