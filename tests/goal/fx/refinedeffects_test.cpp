// What the effects of the refined sound promise beyond the plain formulas.

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <numbers>
#include <set>
#include <span>

#include "AL/efx.h"
#include "goal/fx/compressorparameters.h"
#include "goal/fx/distortionparameters.h"
#include "goal/fx/effecttypes.h"
#include "goal/fx/ringmodulatorparameters.h"
#include "tests/goal/fx/effectfixture.h"

namespace goal::fx {
namespace {

using namespace testing_support;

constexpr double radian = 2 * std::numbers::pi / 48000;  // a sample, of a Hz

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

// A tone of 250 Hz is one that the flanger and the chorus swell.
TEST_P(Loops, UpToAFeedbackOfAHalf_AreThePlainOnes) {
    for (const float feedback : {0.25F, 0.5F, -0.5F})
        for (const Signal& input : {Noise(48'000), Sine(48'000, radian * 250)}) {
            const auto parameters = fx::MakeEffectParameters(GetParam().type);
            SetParameter(*parameters, GetParam().feedbackName, feedback);
            const Channels plain = RunningEffect(*parameters, {.isRefined = false}).Feed(*parameters, input);
            const Channels made = RunningEffect(*parameters).Feed(*parameters, input);
            EXPECT_THAT(made[0], IsNear(1e-3F, plain[0])) << feedback;
            EXPECT_THAT(made[1], IsNear(1e-3F, plain[1])) << feedback;
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
        Signal tone = Sine(96000, radian * frequency);
        for (float& sample : tone)
            sample *= 0.5F;
        const Signal output = effect.Feed(p, tone)[0];
        EXPECT_LE(PeakOf(output), 0.7F) << frequency;
        EXPECT_LE(PeakOf(std::span(output).subspan(720)), 0.56F) << frequency;  // a decibel above the curve
        EXPECT_NEAR(PeakOf(std::span(output).last(9600)), 0.5, 0.005) << frequency;
    }
}

// What isn't at one of the frequencies, in whole Hz, to all of it, in dB, over the last second.
double AliasesOf(const Signal& output, const std::set<long>& lines) {
    const auto last = std::span(output).last(48000);
    double all = 0, meant = 0;
    for (const float sample : last)
        all += double{sample} * sample;
    for (const long line : lines)
        meant += 2 * std::norm(SpectrumAt(last, radian * static_cast<double>(line))) / 48000;
    return 10 * std::log10(std::max(all - meant, 1e-12 * all) / all);
}

TEST(DistortionOfTheRefinedSound, HasNoAliases) {
    const DistortionParameters p;
    for (const long tone : {1234L, 2503L, 4003L, 4900L, 5003L}) {
        std::set<long> harmonics;
        for (long line = tone; line < 24000; line += tone)
            harmonics.insert(line);
        const Signal input = Sine(52'000, radian * static_cast<double>(tone));
        EXPECT_LE(AliasesOf(RunningEffect(p).Feed(p, input)[0], harmonics), -60) << tone;
    }
}

// Below the clip it is the plain distortion, a little later.
TEST(DistortionOfTheRefinedSound, KeepsTheFilters) {
    DistortionParameters p;
    p.edge = 0.005F;
    for (const float center : {500.0F, 3600.0F, 12'000.0F}) {
        p.eqCenter = center;
        const Signal made = RunningEffect(p).Feed(p, Impulse(9000))[0];
        const Signal plain = RunningEffect(p, {.isRefined = false}).Feed(p, Impulse(9000))[0];
        for (const double f : {0.0, 100.0, 1000.0, 3600.0, 8000.0, 12'000.0}) {
            const double change = std::abs(SpectrumAt(made, f * radian) / SpectrumAt(plain, f * radian));
            EXPECT_NEAR(20 * std::log10(change), 0, 0.15) << f << " " << center;
        }
    }
}

TEST(RingModulatorOfTheRefinedSound, MakesThePlainSidebandsAndNoAliases) {
    for (const int waveform : {0, 1, 2})
        for (const long tone : {1001L, 5003L, 15'013L}) {
            RingModulatorParameters p;
            p.setParameteri(AL_RING_MODULATOR_WAVEFORM, waveform);
            std::set<long> lines;
            for (long harmonic = 0; harmonic < 48'000; harmonic += 440)
                for (const long line : {std::abs(harmonic - tone), harmonic + tone})
                    if (line < 24'000) lines.insert(line);
            const Signal input = Sine(52'000, radian * static_cast<double>(tone));
            const Signal made = RunningEffect(p).Feed(p, input)[0];
            EXPECT_LE(AliasesOf(made, lines), -60) << waveform << " " << tone;
            const Signal plain = RunningEffect(p, {.isRefined = false}).Feed(p, input)[0];
            for (const long line : {tone - 440, tone + 440, tone - 3 * 440}) {
                const auto levelOf = [&](const Signal& signal) {
                    return std::abs(SpectrumAt(std::span(signal).last(48'000),
                                               radian * static_cast<double>(line))) /
                           24'000;
                };
                EXPECT_NEAR(levelOf(made), levelOf(plain), 0.01) << waveform << " " << tone << " " << line;
            }
        }
}

}  // namespace
}  // namespace goal::fx
