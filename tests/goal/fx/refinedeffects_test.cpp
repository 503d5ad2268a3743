// What the effects of the refined sound promise beyond the plain formulas.

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <numbers>
#include <span>

#include "AL/efx.h"
#include "goal/fx/effecttypes.h"
#include "tests/goal/fx/effectfixture.h"

namespace goal::fx {
namespace {

using namespace testing_support;

float PeakOf(std::span<const float> signal) {
    float peak = 0;
    for (const float sample : signal)
        peak = std::max(peak, std::abs(sample));
    return peak;
}

struct Loop {
    std::int32_t type, feedbackName, delayName;
};

class Loops : public testing::TestWithParam<Loop> {};

// What goes in for a while, and then silence. The delays are those of the defaults, and the shortest.
TEST_P(Loops, AtFullFeedback_StayBelowTwiceTheInputAndDieAway) {
    constexpr std::size_t seconds = 10, rate = 8000;
    const Signal inputs[] = {Signal(seconds * rate, 0.02F), Noise(seconds * rate),
                             Sine(seconds * rate, 2 * std::numbers::pi * 500 / rate)};
    for (const float feedback : {1.0F, -1.0F})
        for (const bool isShort : {false, true})
            for (Signal input : inputs) {
                const auto parameters = fx::MakeEffectParameters(GetParam().type);
                SetParameter(*parameters, GetParam().feedbackName, feedback);
                if (isShort) SetParameter(*parameters, GetParam().delayName, 0);
                const float most = 2.00001F * PeakOf(input);
                input.resize(6 * input.size());
                for (const Signal& side :
                     RunningEffect(*parameters, {.sampleRate = rate}).Feed(*parameters, input)) {
                    EXPECT_LE(PeakOf(side), most) << feedback << isShort << &input - inputs;
                    EXPECT_LE(PeakOf(std::span(side).last(rate)), most * 1e-3F);
                }
            }
}

INSTANTIATE_TEST_SUITE_P(Types, Loops,
                         testing::Values(Loop{AL_EFFECT_ECHO, AL_ECHO_FEEDBACK, AL_ECHO_DELAY},
                                         Loop{AL_EFFECT_CHORUS, AL_CHORUS_FEEDBACK, AL_CHORUS_DELAY},
                                         Loop{AL_EFFECT_FLANGER, AL_FLANGER_FEEDBACK, AL_FLANGER_DELAY}));

}  // namespace
}  // namespace goal::fx
