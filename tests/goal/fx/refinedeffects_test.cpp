// What the effects of the refined sound promise beyond the plain formulas.

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <numbers>
#include <span>

#include "AL/efx.h"
#include "goal/fx/compressorparameters.h"
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

TEST(CompressorOfTheRefinedSound, HoldsAToneAfterSilenceFromItsFirstSampleOn) {
    const CompressorParameters p;
    for (const double frequency : {50.0, 200.0, 1000.0, 10'000.0}) {
        RunningEffect effect(p);
        effect.Feed(p, Signal(48000));
        Signal tone = Sine(96000, 2 * std::numbers::pi * frequency / 48000);
        for (float& sample : tone)
            sample *= 0.5F;
        const Signal output = effect.Feed(p, tone)[0];
        EXPECT_LE(PeakOf(output), 0.7F) << frequency;
        EXPECT_LE(PeakOf(std::span(output).subspan(720)), 0.56F) << frequency;  // a decibel above the curve
        EXPECT_NEAR(PeakOf(std::span(output).last(9600)), 0.5, 0.005) << frequency;
    }
}

}  // namespace
}  // namespace goal::fx
