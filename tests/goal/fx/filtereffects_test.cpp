// Equalizer, distortion, ring modulator, compressor and dedicated effects against their responses and curves
// in closed form.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>

#include "AL/tessarune.h"
#include "goal/fx/compressorparameters.h"
#include "goal/fx/dedicatedparameters.h"
#include "goal/fx/distortionparameters.h"
#include "goal/fx/equalizerparameters.h"
#include "goal/fx/ringmodulatorparameters.h"
#include "tests/goal/fx/effectfixture.h"

namespace goal::fx {
namespace {

using namespace testing_support;
using Complex = std::complex<double>;
constexpr double pi = std::numbers::pi;
const double half = std::sqrt(0.5);  // of the power

// The analog filters, at the s where the bilinear transform puts the frequency. A boost divides the width of
// a pole, or the distance of a shelf, by its gain.
Complex EqualizerAt(const EqualizerParameters& p, double frequency, double rate) {
    const auto tangent = [rate](double f) { return std::tan(pi * f / rate); };
    const auto boost = [](double gain) { return std::max(gain, 1.0); };
    const Complex s(0, tangent(frequency));
    const auto peak = [&](double gain, double center, double width) {
        const double square = tangent(center) * tangent(center);
        const Complex band = s * (1 + square) * tangent(width * center) / boost(gain);
        return 1.0 + (gain - 1) * band / (s * s + band + square);
    };
    const double low = 2 * tangent(p.lowCutoff) / boost(p.lowGain);
    const double high = tangent(p.highCutoff) / 2 * boost(p.highGain);
    return (s + low * p.lowGain) / (s + low) * (s * double{p.highGain} + high) / (s + high) *
           peak(p.mid1Gain, p.mid1Center, p.mid1Width) * peak(p.mid2Gain, p.mid2Center, p.mid2Width);
}

TEST(Equalizer, EachChannelHasTheResponseOfTheAnalogFilters) {
    using Values = orb3::fx::ParametricEQParameters;
    for (const Values& values :
         {Values{}, Values{7.943f, 50}, Values{0.126f, 800, 1, 500, 1, 1, 3000, 1, 7.943f, 4000},
          Values{1, 200, 7.943f, 200, 0.2f, 0.126f, 8000, 1, 0.126f, 16000},
          Values{2, 300, 0.126f, 3000, 0.5f, 7.943f, 1000, 0.1f, 0.5f, 9000}}) {
        EqualizerParameters p;
        static_cast<Values&>(p) = values;
        for (const double rate : {44100.0, 192000.0}) {
            RunningEffect effect(p, {.sampleRate = rate, .order = 2});
            effect.slotGain = 0.5f;
            Channels input(9, Signal(std::size_t(rate)));
            input[0][0] = 1;
            input[8][0] = -4;
            const Channels output = effect.Feed(p, input);
            for (const double f : {0.0, 50.0, 190.0, 200.0, 950.0, 1000.0, 3000.0, 6000.0, 8000.0, 22050.0}) {
                const Complex expected = 0.5 * EqualizerAt(p, f, rate);
                const Complex found = SpectrumAt(output[0], 2 * pi * f / rate);
                EXPECT_LT(std::abs(found - expected), 2e-5 * std::abs(expected)) << f;
            }
            EXPECT_EQ(output[4], Signal(output[4].size()));
            for (std::size_t i = 0; i < output[0].size(); ++i)
                ASSERT_NEAR(output[8][i], -4 * output[0][i], 1e-12);
        }
    }
}

// Two poles at a radius of sqrt(r), which resonate at `center` and keep the power of white noise.
Complex ResonatorAt(double angle, double center, double r) {
    const double phi = std::acos(2 * std::sqrt(r) / (1 + r) * std::cos(center));
    double power = 0;
    for (int n = 0; n < 20'000; ++n)
        power += std::pow(r, n) * std::pow(std::sin((n + 1) * phi) / std::sin(phi), 2);
    const auto pole = [&](double sign) { return 1.0 - std::sqrt(r) * std::polar(1.0, sign * phi - angle); };
    return 1.0 / (std::sqrt(power) * pole(1) * pole(-1));
}

TEST(Distortion, FiltersBelowTheClipAndClipsHard) {
    constexpr double radian = 2 * pi / 48000;
    DistortionParameters p;
    const struct {
        float lowpass, center, width;
    } rows[] = {{8000, 3600, 3600}, {80, 80, 80}, {24000, 20000, 80}, {300, 9000, 24000}};
    for (const auto& [lowpass, center, width] : rows) {
        p.edge = 0.005f;
        p.gain = 0.5f;
        p.lowpassCutoff = lowpass;
        p.eqCenter = center;
        p.eqBandwidth = width;
        const EffectPlace plain{.isRefined = false};
        const Signal output = RunningEffect(p, plain).Feed(p, Impulse(40'000))[0];
        for (const double f : {0.0, 75.0, 80.0, 3600.0, 20010.0, 24000.0}) {
            const Complex expected = 0.5 * OnePoleAt(f * radian, half, lowpass * radian) *
                                     ResonatorAt(f * radian, center * radian, std::exp(-width * radian));
            const double error = std::abs(SpectrumAt(output, f * radian) - expected);
            EXPECT_LT(error, 1e-5 * std::abs(expected) + 1e-8) << f << " " << center;
        }
        const double unclipped = RunningEffect(p, plain).Feed(p, Signal(9000, 1))[0].back();
        p.edge = 1;
        for (const bool isRefined : {false, true})
            EXPECT_NEAR(RunningEffect(p, {.isRefined = isRefined}).Feed(p, Signal(9000, -0.6f))[0].back(),
                        -unclipped, 1e-6);
    }
}

TEST(Distortion, FrequenciesAboveHalfTheRate_CountAsHalfTheRate) {
    DistortionParameters p, highest;
    p.lowpassCutoff = p.eqCenter = 24000;
    highest.lowpassCutoff = highest.eqCenter = 4000;
    EXPECT_EQ(RunningEffect(p, {.sampleRate = 8000}).Feed(p, Impulse(100)),
              RunningEffect(highest, {.sampleRate = 8000}).Feed(highest, Impulse(100)));
}

TEST(RingModulator, MakesSidebandsOfEachHarmonicOfItsWave) {
    constexpr std::size_t period = 12800;  // bins of 3.75 Hz
    constexpr double radian = 2 * pi / period, tone = 811, carrier = 97;
    Signal input(4 * period);
    for (std::size_t i = 0; i < input.size(); ++i)
        input[i] = float(std::cos(tone * radian * double(i)));
    const struct {
        Waveform waveform;
        std::array<double, 4> harmonics;  // times pi
    } rows[] = {{Waveform::Sinusoid, {0, pi, 0, 0}},
                {Waveform::Square, {0, 4, 0, 4.0 / 3}},
                {Waveform::Sawtooth, {0, 2, -1, 2.0 / 3}}};
    for (const auto& [waveform, harmonics] : rows) {
        RingModulatorParameters p;
        p.waveform = waveform;
        p.frequency = 97 * 3.75f;
        p.highpassCutoff = 2000;
        const Signal output = RunningEffect(p, {.isRefined = false}).Feed(p, input)[0];
        const Complex highpassed = 1.0 - OnePoleAt(tone * radian, half, 2001 / 3.75 * radian);
        for (int k = 0; k < 4; ++k) {
            const auto line = [&](double bin) {
                return SpectrumAt(std::span(output).last(period), bin * radian) / double(period);
            };
            const Complex expected = Complex(0, -0.25) * (harmonics[std::size_t(k)] / pi) * highpassed;
            EXPECT_LT(std::abs(line(tone + k * carrier) - expected), 1e-3) << int(waveform) << " " << k;
            EXPECT_LT(std::abs(line(tone - k * carrier) + expected), 1e-3) << int(waveform) << " " << k;
        }
    }
}

TEST(Compressor, FollowsItsStaticCurveAndForgetsTwentyDecibelsASecond) {
    const CompressorParameters p;
    for (const double level : {1e-4, 0.03, 0.5, 1.0, 30.0}) {
        RunningEffect effect(p, {.sampleRate = 22050});
        effect.Feed(p, Signal(22050, std::nanf("")));
        const double on = effect.Feed(p, Signal(22050 * 5, float(level)))[0].back();
        EXPECT_NEAR(on / (level * std::pow(level * level + 1e-5, -0.3333) * 0.5), 1, 2e-6);
        const double later = effect.Feed(p, Signal(22050, 1e-5f))[0].back();
        EXPECT_NEAR(later / (1e-5 * std::pow(level * level / 100 + 1e-5, -0.3333) * 0.5), 1, 1e-4);
    }
}

TEST(PlainGains, AreThoseOfDedicatedEffectsAndOfACompressorThatIsOff) {
    DedicatedParameters dedicated(AL_EFFECT_DEDICATED_DIALOGUE);
    CompressorParameters off;
    dedicated.gain = -3;
    off.isOn = false;
    EXPECT_EQ(RunningEffect(dedicated).Feed(dedicated, Signal{1, -4, 2})[0], (Signal{-3, 12, -6}));
    EXPECT_EQ(RunningEffect(off).Feed(off, Signal{1, -4, 2})[0], (Signal{1, -4, 2}));
}

}  // namespace
}  // namespace goal::fx
