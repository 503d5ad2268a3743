// A turned sound field against the same sources at turned places, by the polynomials that sources enter by.

#include "numeric/fieldrotation.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>

#include "numeric/directionpolynomials.h"

namespace hcml {
namespace {

std::array<double, 3> RandomDirection(std::mt19937& generator) {
    std::normal_distribution<double> normal;
    std::array<double, 3> u{normal(generator), normal(generator), normal(generator)};
    const double length = std::hypot(u[0], u[1], u[2]);
    for (double& value : u)
        value /= length;
    return u;
}

std::array<double, 3> Times(const RotationMatrix& matrix, const std::array<double, 3>& u) {
    std::array<double, 3> product{};
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t column = 0; column < 3; ++column)
            product[row] += matrix[row][column] * u[column];
    return product;
}

class FieldRotationOfOrder : public testing::TestWithParam<unsigned> {};
INSTANTIATE_TEST_SUITE_P(Orders, FieldRotationOfOrder, testing::Values(1, 2, 3, 4));

TEST_P(FieldRotationOfOrder, AnyTurn_PutsEverySourceWhereItTurnsTo) {
    const unsigned order = GetParam();
    const FieldRotation rotation(order);
    std::mt19937 generator(order);
    std::uniform_real_distribution<double> angle(-4, 4);
    FieldRotation::Matrix matrix;
    for (int turn = 0; turn < 50; ++turn) {
        const RotationMatrix turned =
            ToMatrix(FromYawPitchRoll(angle(generator), angle(generator), angle(generator)));
        rotation.Make(turned, matrix);
        const std::array<double, 3> source = RandomDirection(generator), place = Times(turned, source);
        std::array<double, mostBusChannels> before{}, wanted{};
        directionPolynomials(source[0], source[1], source[2], order, before.data());
        directionPolynomials(place[0], place[1], place[2], order, wanted.data());
        for (std::size_t p = 0; p < rotation.parts.size(); ++p)
            for (std::size_t to = 0; to < rotation.parts[p].channels.size(); ++to) {
                double sum = 0;
                for (std::size_t from = 0; from < rotation.parts[p].channels.size(); ++from)
                    sum += double{matrix[p][from * FieldRotation::partStride + to]} *
                           before[rotation.parts[p].channels[from]];
                EXPECT_NEAR(sum, wanted[rotation.parts[p].channels[to]], 1e-6);
            }
    }
}

struct NamedTurn {
    const char* name;
    double yaw, pitch, roll;          // degrees
    std::array<double, 3> nose, ear;  // where ahead and the left ear go to
};

class TurnOfAHead : public testing::TestWithParam<NamedTurn> {};
INSTANTIATE_TEST_SUITE_P(Turns, TurnOfAHead,
                         testing::Values(NamedTurn{"Left", 90, 0, 0, {0, 1, 0}, {-1, 0, 0}},
                                         NamedTurn{"Up", 0, 90, 0, {0, 0, 1}, {0, 1, 0}},
                                         NamedTurn{"RightEarDown", 0, 0, 90, {1, 0, 0}, {0, 0, 1}},
                                         NamedTurn{"LeftThenUp", 90, 30, 0, {0, 0.866025, 0.5}, {-1, 0, 0}}),
                         [](const auto& info) { return info.param.name; });

TEST_P(TurnOfAHead, ByAngles_IsTheTurnThatTheyName) {
    constexpr double radians = 0.017453292519943295;
    const NamedTurn& turn = GetParam();
    const Quaternion head = FromYawPitchRoll(turn.yaw * radians, turn.pitch * radians, turn.roll * radians);
    const std::array<double, 3> nose = Times(ToMatrix(head), {1, 0, 0}),
                                ear = Times(ToMatrix(head), {0, 1, 0});
    for (std::size_t axis = 0; axis < 3; ++axis) {
        EXPECT_NEAR(nose[axis], turn.nose[axis], 1e-6);
        EXPECT_NEAR(ear[axis], turn.ear[axis], 1e-6);
    }
    const auto [yaw, pitch, roll] = ToYawPitchRoll(head);
    EXPECT_NEAR(AngleBetween(FromYawPitchRoll(yaw, pitch, roll), head), 0, 1e-6);
}

}  // namespace
}  // namespace hcml
