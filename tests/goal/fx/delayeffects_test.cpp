// Chorus, flanger and echo against what their delay lines and loops are to do, in closed form.

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <numeric>

#include "goal/fx/echoparameters.h"
#include "goal/fx/modulateddelayparameters.h"
#include "tests/goal/fx/effectfixture.h"

namespace goal::fx {
namespace {

using namespace testing_support;
using Complex = std::complex<double>;
constexpr double pi = std::numbers::pi;

// Rises by 1 from frame to frame: what comes out of a delay tells how old it is.
Signal Ramp(std::size_t frames, int first) {
    Signal signal(frames);
    std::iota(signal.begin(), signal.end(), float(first));
    return signal;
}

template <typename Parameters>
Parameters Sweep(Waveform waveform, double degrees, float rate, float depth, float delay,
                 float feedback = 0) {
    Parameters p;
    p.waveform = waveform;
    p.phase = float(degrees * pi / 180);
    p.rate = rate;
    p.depth = depth;
    p.delay = delay;
    p.feedback = feedback;
    return p;
}

void ExpectTrajectory(const ModulatedDelayParameters& p, double rate, bool isRefined) {
    constexpr int last = 4000, lead = 600'000;
    RunningEffect effect(p, {.sampleRate = rate, .blockFrames = 500, .isRefined = isRefined});
    const Channels output = effect.Feed(p, Ramp(lead + last, -lead));
    for (std::size_t i = lead; i < lead + last; i += 7) {
        for (const std::size_t side : {0u, 1u}) {
            const double sine = std::sin(2 * pi * p.rate * double(i) / rate + double(side) * p.phase);
            const double wave = p.waveform == Waveform::Sinusoid ? sine : std::asin(sine) * 2 / pi;
            const double delay = (wave * p.depth + 1) * p.delay * rate;
            ASSERT_NEAR(double(i) - lead - 1 - output[side][i], delay, 1e-3) << i << " " << p.phase;
        }
    }
}

TEST(ModulatedDelay, TheTapsFollowTheWaves) {
    for (const Waveform wave : {Waveform::Sinusoid, Waveform::Triangle}) {
        for (const double degrees : {-180.0, -90.0, 0.0, 33.0, 90.0, 180.0}) {
            const bool isRefined = degrees < 0;
            ExpectTrajectory(Sweep<ChorusParameters>(wave, degrees, 1.1f, 0.1f, 0.016f), 48000, isRefined);
            ExpectTrajectory(Sweep<FlangerParameters>(wave, degrees, 10, 1, 0.004f), 44100, isRefined);
            ExpectTrajectory(Sweep<FlangerParameters>(wave, degrees, 10, 1, 0.004f), 44100, !isRefined);
        }
        ExpectTrajectory(Sweep<FlangerParameters>(wave, 90, 0.27f, 0.5f, 0.002f), 96000, false);
        ExpectTrajectory(Sweep<ChorusParameters>(wave, 90, 0, 1, 0), 8000, true);
    }
}

TEST(ModulatedDelay, TheDelayJumpsAndTheDepthTakesTenMilliseconds) {
    const auto before = Sweep<ChorusParameters>(Waveform::Triangle, 90, 0, 0.2f, 0.005f);
    const auto after = Sweep<ChorusParameters>(Waveform::Triangle, 90, 0, 1, 0.01f);
    RunningEffect effect(before, {.isRefined = false});
    effect.Feed(before, Ramp(2000, -2000));
    const Channels output = effect.Feed(after, Ramp(1000, 0));
    for (int i = 0; i < 1000; ++i) {
        const double delay = (std::min(0.2 + i / 480.0, 1.0) + 1) * (i == 0 ? 240 : 480);
        EXPECT_NEAR(i - 1 - double{output[1][std::size_t(i)]}, delay, 1e-3) << i;
    }
}

TEST(ModulatedDelay, BothTapsFeedBack) {
    const auto p = Sweep<ChorusParameters>(Waveform::Sinusoid, 0, 3, 0, 0.0078125f, -1);
    const Channels output = RunningEffect(p, {.isRefined = false}).Feed(p, Impulse(9000));
    for (std::size_t i = 0; i < 9000; ++i)
        EXPECT_NEAR(output[0][i], i > 0 && i % 376 == 0 ? std::pow(-0.9998, i / 376 - 1) : 0, 1e-5) << i;
    EXPECT_EQ(output[0], output[1]);
}

TEST(Echo, HasTheResponseOfTwoTapsAndADampedLoop) {
    struct Case {
        double rate, delay, lrDelay;  // Hz, frames
        float damping, feedback, spread;
    };
    for (const Case& c : {Case{48000, 480, 1000, 0, 0.5f, 1}, Case{48000, 480, 1000, 0.99f, 0.8f, -1},
                          Case{48000, 0, 0, 0.5f, 0.5f, 0.3f}, Case{96000, 0, 38000, 0.7f, 0.3f, 0}}) {
        EchoParameters p;
        p.delay = float((c.delay + 0.25) / c.rate);
        p.lrDelay = float((c.lrDelay + 0.25) / c.rate);
        p.damping = c.damping;
        p.feedback = c.feedback;
        p.spread = c.spread;
        // A loop of great gain is the plain one only in the plain formulas.
        RunningEffect effect(p, {.sampleRate = c.rate, .isRefined = c.feedback <= 0.5f});
        effect.slotGain = 0.5f;
        const Channels output = effect.Feed(p, Impulse(600'000));
        for (const double f : {0.0, 100.0, 2000.0, 5000.0, 12000.0}) {
            const double radian = 2 * pi / c.rate;
            const Complex a = std::polar(1.0, -(c.delay + 1) * f * radian);
            const Complex b = std::polar(1.0, -(c.delay + c.lrDelay + 1) * f * radian);
            const Complex low = OnePoleAt(f * radian, 0.995 - double{c.damping}, 5000 * radian);
            const Complex line = 0.5 * 0.3535 * low / (1.0 - double{c.feedback} / 2 * low * (a + b));
            const Complex side = double{c.spread} * (a - b);
            EXPECT_LT(std::abs(SpectrumAt(output[0], f * radian) - line * (a + b + side)), 2e-5) << f;
            EXPECT_LT(std::abs(SpectrumAt(output[1], f * radian) - line * (a + b - side)), 2e-5) << f;
        }
    }
}

}  // namespace
}  // namespace goal::fx
