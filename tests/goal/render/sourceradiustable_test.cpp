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

}  // namespace
