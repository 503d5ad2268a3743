// A head that turns, against the field of a source that goes round it the other way.

#include "goal/render/headturn.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>

#include "numeric/directionpolynomials.h"
#include "tests/support/allocationcounter.h"

namespace goal {
namespace {

constexpr std::uint32_t blockFrames = 256;
constexpr double rate = 48000, sourceAzimuth = 0.3, pi = std::numbers::pi;

double Tone(std::uint32_t block, std::uint32_t frame) {
    return std::sin(2 * pi * 1000 * (block * blockFrames + frame) / rate);
}

class Field {
public:
    explicit Field(unsigned order) : order(order), bus(blockFrames, hcml::ChannelsOfOrder(order)) {}

    // What the source has in a channel for a head that is tilted, then turned to the left by `yaw`.
    double Weight(std::uint32_t channel, double yaw, const hcml::Quaternion& tilt = {}) const {
        const double x = std::cos(sourceAzimuth - yaw), y = std::sin(sourceAzimuth - yaw);
        const hcml::RotationMatrix back = ToMatrix(Inverse(tilt));
        std::array<double, hcml::mostBusChannels> weights;
        hcml::directionPolynomials(back[0][0] * x + back[0][1] * y, back[1][0] * x + back[1][1] * y,
                                   back[2][0] * x + back[2][1] * y, order, weights.data());
        return weights[channel];
    }
    void Fill(std::uint32_t block) {
        for (std::uint32_t c = 0; c < bus.channelCount; ++c)
            for (std::uint32_t i = 0; i < blockFrames; ++i)
                bus.channels[c][i] = static_cast<float>(Weight(c, 0) * Tone(block, i));
    }

    const unsigned order;
    hcml::ac::Bus bus;
};

class HeadTurnOfOrder : public testing::TestWithParam<unsigned> {};
INSTANTIATE_TEST_SUITE_P(Orders, HeadTurnOfOrder, testing::Values(1, 2, 3, 4));

TEST_P(HeadTurnOfOrder, At300DegreesASecond_StaysWithin70dBOfTheSourceAndAllocatesNothing) {
    Field field(GetParam());
    HeadTurn turn(field.order, blockFrames);
    const double perFrame = 300 * pi / 180 / rate;
    const hcml::Quaternion tilt = hcml::FromYawPitchRoll(0, 0.4, 0.3);
    static_cast<void>(turn.Turn(field.bus, tilt));
    double greatest = 0;
    for (std::uint32_t block = 0; block < 60; ++block) {
        field.Fill(block);
        const double begin = perFrame * block * blockFrames;
        const std::size_t allocations = testing_support::AllocationsOfThisThread();
        const hcml::ac::Bus& heard =
            turn.Turn(field.bus, hcml::FromYawPitchRoll(begin + perFrame * blockFrames, 0, 0) * tilt);
        ASSERT_EQ(testing_support::AllocationsOfThisThread(), allocations);
        for (std::uint32_t c = 0; c < heard.channelCount; ++c)
            for (std::uint32_t i = 0; i < blockFrames; ++i)
                greatest = std::max(
                    greatest, std::abs(field.Weight(c, begin + perFrame * (i + 1), tilt) * Tone(block, i) -
                                       heard.channels[c][i]));
    }
    EXPECT_LT(20 * std::log10(greatest), -70);
    EXPECT_GT(20 * std::log10(greatest), -140) << "nothing turned";
}

TEST(HeadTurn, ThatComesBackAhead_IsTheFieldItself) {
    Field field(2);
    field.Fill(0);
    HeadTurn turn(2, blockFrames);
    EXPECT_EQ(&turn.Turn(field.bus, {}), &field.bus);
    const hcml::Quaternion left = hcml::FromYawPitchRoll(pi / 2, 0, 0);
    static_cast<void>(turn.Turn(field.bus, left));
    const hcml::ac::Bus& still = turn.Turn(field.bus, left);
    for (std::uint32_t c = 0; c < still.channelCount; ++c)
        EXPECT_NEAR(still.channels[c][99], field.Weight(c, pi / 2) * Tone(0, 99), 1e-5);
    static_cast<void>(turn.Turn(field.bus, {}));
    EXPECT_EQ(&turn.Turn(field.bus, {}), &field.bus);
}

}  // namespace
}  // namespace goal
