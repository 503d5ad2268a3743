#include "goal/distancegain.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "AL/al.h"
#include "slib/exception.h"

namespace {

struct Case {
    std::int32_t model;
    double reference, max, rolloff, distance, gain;
};

class DistanceGain : public testing::TestWithParam<Case> {};

TEST_P(DistanceGain, OfEachModel_IsItsClosedFormOr1WhereThatFails) {
    const Case& c = GetParam();
    const float gain =
        goal::distanceGain(c.model, float(c.reference), float(c.max), float(c.rolloff), float(c.distance));
    EXPECT_NEAR(gain, c.gain, 1e-6 * c.gain);
}

constexpr double nan = std::numeric_limits<double>::quiet_NaN(),
                 inf = std::numeric_limits<double>::infinity();

// clang-format off
INSTANTIATE_TEST_SUITE_P(Models, DistanceGain, testing::Values(
    Case{AL_NONE, nan, nan, nan, nan, 1}, Case{AL_INVERSE_DISTANCE, 2, 10, 0.5, 7, 2 / 4.5},
    Case{AL_INVERSE_DISTANCE, 2, 10, 0.5, 100, 2 / 51.0}, Case{AL_INVERSE_DISTANCE, 1, 10, 1, 0.5, 2},
    Case{AL_INVERSE_DISTANCE, 0, 10, 1, 5, 0}, Case{AL_INVERSE_DISTANCE, 0, 10, 0, 5, 1},
    Case{AL_INVERSE_DISTANCE, 1, 10, 2, 0.5, 1}, Case{AL_INVERSE_DISTANCE, 1, 10, 2, 0.25, 1},
    Case{AL_INVERSE_DISTANCE, 1, 10, 1, inf, 0}, Case{AL_INVERSE_DISTANCE, 1, 10, 1, 1e-31, 1},
    Case{AL_INVERSE_DISTANCE_CLAMPED, 2, 10, 0.5, 7, 2 / 4.5},
    Case{AL_INVERSE_DISTANCE_CLAMPED, 2, 10, 0.5, 1, 1},
    Case{AL_INVERSE_DISTANCE_CLAMPED, 2, 10, 0.5, 100, 2 / 6.0},
    Case{AL_INVERSE_DISTANCE_CLAMPED, 2, 1, 0.5, 5, 2 / 1.5},
    Case{AL_INVERSE_DISTANCE_CLAMPED, nan, 1, 1, 5, 1}, Case{AL_LINEAR_DISTANCE, 1, 11, 0.5, 6, 0.75},
    Case{AL_LINEAR_DISTANCE, 1, 11, 1, 100, 0}, Case{AL_LINEAR_DISTANCE, 5, 10, 1, 0, 2},
    Case{AL_LINEAR_DISTANCE, 1, 11, 1e30, 6, 1}, Case{AL_LINEAR_DISTANCE, 3, 3, 1, 5, 1},
    Case{AL_LINEAR_DISTANCE, 3, 3, 1, 2, 1}, Case{AL_LINEAR_DISTANCE_CLAMPED, 1, 11, 0.5, 6, 0.75},
    Case{AL_LINEAR_DISTANCE_CLAMPED, 5, 10, 1, 0, 1}, Case{AL_LINEAR_DISTANCE_CLAMPED, 1, 11, 1.5, 50, 1},
    Case{AL_LINEAR_DISTANCE_CLAMPED, 3, 3, 1, 3, 1}, Case{AL_EXPONENT_DISTANCE, 2, 10, 1.5, 50, 0.008},
    Case{AL_EXPONENT_DISTANCE, 1, 10, 2, 0.1, 100}, Case{AL_EXPONENT_DISTANCE, 0, 10, 2, 5, 0},
    Case{AL_EXPONENT_DISTANCE, 0, 10, 2, 0, 1}, Case{AL_EXPONENT_DISTANCE, 1, 10, 100, 0.1, 1},
    Case{AL_EXPONENT_DISTANCE, 1, 10, 1e30, 5, 0}, Case{AL_EXPONENT_DISTANCE_CLAMPED, 2, 8, 1.5, 50, 0.125},
    Case{AL_EXPONENT_DISTANCE_CLAMPED, 2, 8, 1.5, 1, 1}));
// clang-format on

TEST(DistanceGainModel, Unknown_IsAnAssertionFailure) {
    EXPECT_THROW(goal::distanceGain(0xD000, 1, 2, 1, 1), slib::IntegrityFailureException);
}

}  // namespace
