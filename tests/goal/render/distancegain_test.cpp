#include "goal/render/distancegain.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "AL/al.h"
#include "slib/exception.h"

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN(),
                 inf = std::numeric_limits<double>::infinity();

// clang-format off
TEST(DistanceGain, OfEachModel_IsItsClosedFormOr1WhereThatFails) {
    const struct { std::int32_t model; double reference, max, rolloff, distance, gain; } cases[] = {
    {AL_NONE, nan, nan, nan, nan, 1}, {AL_INVERSE_DISTANCE, 2, 10, 0.5, 7, 2 / 4.5},
    {AL_INVERSE_DISTANCE, 2, 10, 0.5, 100, 2 / 51.0}, {AL_INVERSE_DISTANCE, 1, 10, 1, 0.5, 2},
    {AL_INVERSE_DISTANCE, 0, 10, 1, 5, 0}, {AL_INVERSE_DISTANCE, 0, 10, 0, 5, 1},
    {AL_INVERSE_DISTANCE, 1, 10, 2, 0.5, 1}, {AL_INVERSE_DISTANCE, 1, 10, 2, 0.25, 1},
    {AL_INVERSE_DISTANCE, 1, 10, 1, inf, 0}, {AL_INVERSE_DISTANCE, 1, 10, 1, 1e-31, 1},
    {AL_INVERSE_DISTANCE_CLAMPED, 2, 10, 0.5, 7, 2 / 4.5},
    {AL_INVERSE_DISTANCE_CLAMPED, 2, 10, 0.5, 1, 1},
    {AL_INVERSE_DISTANCE_CLAMPED, 2, 10, 0.5, 100, 2 / 6.0},
    {AL_INVERSE_DISTANCE_CLAMPED, 2, 1, 0.5, 5, 2 / 1.5},
    {AL_INVERSE_DISTANCE_CLAMPED, nan, 1, 1, 5, 1}, {AL_LINEAR_DISTANCE, 1, 11, 0.5, 6, 0.75},
    {AL_LINEAR_DISTANCE, 1, 11, 1, 100, 0}, {AL_LINEAR_DISTANCE, 5, 10, 1, 0, 2},
    {AL_LINEAR_DISTANCE, 1, 11, 1e30, 6, 1}, {AL_LINEAR_DISTANCE, 3, 3, 1, 5, 1},
    {AL_LINEAR_DISTANCE, 3, 3, 1, 2, 1}, {AL_LINEAR_DISTANCE_CLAMPED, 1, 11, 0.5, 6, 0.75},
    {AL_LINEAR_DISTANCE_CLAMPED, 5, 10, 1, 0, 1}, {AL_LINEAR_DISTANCE_CLAMPED, 1, 11, 1.5, 50, 1},
    {AL_LINEAR_DISTANCE_CLAMPED, 3, 3, 1, 3, 1}, {AL_EXPONENT_DISTANCE, 2, 10, 1.5, 50, 0.008},
    {AL_EXPONENT_DISTANCE, 1, 10, 2, 0.1, 100}, {AL_EXPONENT_DISTANCE, 0, 10, 2, 5, 0},
    {AL_EXPONENT_DISTANCE, 0, 10, 2, 0, 1}, {AL_EXPONENT_DISTANCE, 1, 10, 100, 0.1, 1},
    {AL_EXPONENT_DISTANCE, 1, 10, 1e30, 5, 0}, {AL_EXPONENT_DISTANCE_CLAMPED, 2, 8, 1.5, 50, 0.125},
    {AL_EXPONENT_DISTANCE_CLAMPED, 2, 8, 1.5, 1, 1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "case " << &c - cases);
        const float gain =
            goal::distanceGain(goal::DistanceModel{c.model}, float(c.reference), float(c.max), float(c.rolloff), float(c.distance));
        EXPECT_NEAR(gain, c.gain, 1e-6 * c.gain);
    }
}
// clang-format on

TEST(DistanceGainModel, Unknown_IsAnAssertionFailure) {
    EXPECT_THROW(goal::distanceGain(goal::DistanceModel{0xD000}, 1, 2, 1, 1),
                 slib::IntegrityFailureException);
}

}  // namespace
