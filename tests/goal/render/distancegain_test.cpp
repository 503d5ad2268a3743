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

// Divisions by 0, gains below 0 and beyond floats. What sources that have a gain are heard at is tested by
// the calls of a game.
const Case cases[] = {
    {.model = AL_NONE, .reference = nan, .max = nan, .rolloff = nan, .distance = nan, .gain = 1},
    {.model = AL_INVERSE_DISTANCE, .distance = inf, .gain = 0},
    {.model = AL_INVERSE_DISTANCE, .reference = 0, .rolloff = 0, .distance = 5, .gain = 1},
    {.model = AL_INVERSE_DISTANCE, .rolloff = 2, .distance = 0.5, .gain = 1},
    {.model = AL_INVERSE_DISTANCE, .rolloff = 2, .distance = 0.25, .gain = 1},
    {.model = AL_INVERSE_DISTANCE_CLAMPED, .reference = 2, .max = 1, .distance = 5, .gain = 2},
    {.model = AL_LINEAR_DISTANCE, .reference = 3, .max = 3, .distance = 5, .gain = 1},
    {.model = AL_LINEAR_DISTANCE_CLAMPED, .max = 11, .rolloff = 1.5, .distance = 50, .gain = 1},
    {.model = AL_EXPONENT_DISTANCE, .rolloff = 100, .distance = 0.1, .gain = 1}};

TEST(DistanceGain, WhereTheFormulaFails_Is1) {
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
