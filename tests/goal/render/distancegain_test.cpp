#include "goal/render/distancegain.h"

#include <gtest/gtest.h>

#include <limits>

#include "AL/al.h"
#include "slib/exception.h"

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN(),
                 inf = std::numeric_limits<double>::infinity();

struct Case {
    std::int32_t model;
    double reference = 1, max = 10, rolloff = 1, distance, gain;
};

const Case cases[] = {
    {.model = AL_NONE, .reference = nan, .max = nan, .rolloff = nan, .distance = nan, .gain = 1},
    {.model = AL_INVERSE_DISTANCE, .reference = 2, .rolloff = 0.5, .distance = 7, .gain = 2 / 4.5},
    {.model = AL_INVERSE_DISTANCE, .reference = 2, .rolloff = 0.5, .distance = 100, .gain = 2 / 51.0},
    {.model = AL_INVERSE_DISTANCE, .distance = 0.5, .gain = 2},
    {.model = AL_INVERSE_DISTANCE, .distance = inf, .gain = 0},
    {.model = AL_INVERSE_DISTANCE, .reference = 0, .rolloff = 0, .distance = 5, .gain = 1},
    {.model = AL_INVERSE_DISTANCE, .rolloff = 2, .distance = 0.5, .gain = 1},
    {.model = AL_INVERSE_DISTANCE, .rolloff = 2, .distance = 0.25, .gain = 1},
    {.model = AL_INVERSE_DISTANCE_CLAMPED, .reference = 2, .distance = 7, .gain = 2 / 7.0},
    {.model = AL_INVERSE_DISTANCE_CLAMPED, .reference = 2, .distance = 1, .gain = 1},
    {.model = AL_INVERSE_DISTANCE_CLAMPED, .reference = 2, .distance = 100, .gain = 2 / 10.0},
    {.model = AL_INVERSE_DISTANCE_CLAMPED, .reference = 2, .max = 1, .distance = 5, .gain = 2},
    {.model = AL_LINEAR_DISTANCE, .max = 11, .rolloff = 0.5, .distance = 6, .gain = 0.75},
    {.model = AL_LINEAR_DISTANCE, .max = 11, .distance = 100, .gain = 0},
    {.model = AL_LINEAR_DISTANCE, .reference = 5, .distance = 0, .gain = 2},
    {.model = AL_LINEAR_DISTANCE, .reference = 3, .max = 3, .distance = 5, .gain = 1},
    {.model = AL_LINEAR_DISTANCE_CLAMPED, .max = 11, .rolloff = 0.5, .distance = 6, .gain = 0.75},
    {.model = AL_LINEAR_DISTANCE_CLAMPED, .reference = 5, .distance = 0, .gain = 1},
    {.model = AL_LINEAR_DISTANCE_CLAMPED, .max = 11, .rolloff = 1.5, .distance = 50, .gain = 1},
    {.model = AL_EXPONENT_DISTANCE, .reference = 2, .rolloff = 1.5, .distance = 50, .gain = 0.008},
    {.model = AL_EXPONENT_DISTANCE, .rolloff = 2, .distance = 0.1, .gain = 100},
    {.model = AL_EXPONENT_DISTANCE, .rolloff = 100, .distance = 0.1, .gain = 1},
    {.model = AL_EXPONENT_DISTANCE_CLAMPED, .reference = 2, .max = 8, .distance = 50, .gain = 0.25},
    {.model = AL_EXPONENT_DISTANCE_CLAMPED, .reference = 2, .distance = 1, .gain = 1}};

TEST(DistanceGain, OfEachModel_IsItsClosedFormOr1WhereThatFails) {
    for (const Case& c : cases) {
        const float gain = goal::distanceGain(goal::DistanceModel{c.model}, float(c.reference), float(c.max),
                                              float(c.rolloff), float(c.distance));
        EXPECT_NEAR(gain, c.gain, 1e-6 * c.gain) << "case " << &c - cases;
    }
}

TEST(DistanceGainModel, Unknown_IsAnAssertionFailure) {
    EXPECT_THROW(goal::distanceGain(goal::DistanceModel{0xD000}, 1, 2, 1, 1),
                 slib::IntegrityFailureException);
}

}  // namespace
