// The reverb of the classic sound by what a room is measured by: decay times, echo density, where sound comes
// from and when; and what no reverb may do: click or blow up.

#include "goal/fx/reverb.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <numeric>
#include <string>
#include <utility>

#include "AL/efx.h"
#include "tests/goal/fx/effectfixture.h"
#include "tests/support/roommeasures.h"

namespace goal::fx {
namespace {

using namespace testing_support;
using P = EAXReverbParameters;

constexpr EffectPlace classic{.isRefined = false};

P With(const std::function<void(P&)>& change) {
    P parameters;
    change(parameters);
    return parameters;
}

double Peak(const Channels& channels) {
    double peak = 0;
    for (const Signal& channel : channels)
        for (const float sample : channel)
            peak = std::max(peak, std::abs(double{sample}));
    return peak;
}

struct Room {
    std::string name;
    std::function<void(P&)> set;
    double high, low;  // what the ratios come to at the references: of a boost, a shelf is half up there
};

// A room as short as the first one is diffused away: the all-passes alone ring for 0.3 s.
class DecayTimes : public testing::TestWithParam<Room> {};

TEST_P(DecayTimes, AreThoseAskedForInTheMiddleAndAtTheReferences) {
    const Room& room = GetParam();
    P p = With(room.set);
    p.reflectionsGain = 0;
    for (const double rate : {44100.0, 96000.0})
        for (const bool isFull : {false, true}) {
            SCOPED_TRACE(std::to_string(rate) + (isFull ? " full" : " small"));
            RunningEffect reverb(p, {rate, 512, 1, isFull, isFull, false});
            Signal tail = reverb.Feed(p, Impulse(std::size_t(rate * (1.2 * p.decayTime + 0.5))))[0];
            tail.erase(tail.begin(), tail.begin() + std::ptrdiff_t(rate * 0.17));
            const auto ratio = [&](double frequency) {
                return DecayTime(Band(tail, frequency, rate), rate) / p.decayTime;
            };
            EXPECT_NEAR((ratio(707) + ratio(1000) + ratio(1414)) / 3, 1, 0.1);
            EXPECT_NEAR(ratio(p.hfReference) / room.high, 1, 0.1);
            EXPECT_NEAR(ratio(p.lfReference) / room.low, 1, 0.1);
        }
}

const Room rooms[] = {
    {"Room", [](P& p) { p.decayTime = 0.4F, p.density = 0.4287F, p.diffusion = 0; }, 0.83, 1},
    {"ConcertHall", [](P& p) { p.decayTime = 3.92F, p.decayHFRatio = 0.7F; }, 0.7, 1},
    {"Cave", [](P& p) { p.decayTime = 2.91F, p.decayHFRatio = 1.3F; }, 1.13, 1},
    {"CastleHall",
     [](P& p) {
         p.decayTime = 3.14F, p.decayHFRatio = 0.79F, p.decayLFRatio = 1.31F, p.diffusion = 0.81F;
         p.hfReference = 5168.6F, p.lfReference = 139.5F;
     },
     0.79, 1.15}};
INSTANTIATE_TEST_SUITE_P(Rooms, DecayTimes, testing::ValuesIn(rooms),
                         [](const auto& test) { return test.param.name; });

// Normalized echo density (Abel and Huang, 2006) over windows of 20 ms: 1 for Gaussian noise.
TEST(Reverb, EchoDensity_GrowsToThatOfNoise) {
    constexpr std::size_t window = 960;
    const P p = With([](auto& p) { p.decayTime = 3, p.reflectionsGain = 0; });
    const Signal tail = RunningEffect(p, classic).Feed(p, Impulse(72000))[0];
    const auto density = [&](std::size_t from, std::size_t count) {
        std::ptrdiff_t outside = 0;
        for (auto begin = tail.begin() + from; begin != tail.begin() + from + count; begin += window) {
            const double power = std::inner_product(begin, begin + window, begin, 0.0) / window;
            outside += std::count_if(begin, begin + window, [&](double x) { return x * x > power; });
        }
        return double(outside) / double(count) / std::erfc(std::numbers::sqrt2 / 2);
    };
    EXPECT_LT(density(3840, window), 0.7);
    EXPECT_LT(density(4800, 3 * window), density(24000, 10 * window));
    EXPECT_NEAR(density(48000, 20 * window), 1, 0.07);
}

// Gains that let the output through as it is.
void Open(P& p) {
    p.gain = p.gainHF = p.gainLF = 1;
}

TEST(Reverb, EarlyReflections_ComeWhenAndFromWhereTheyShould) {
    for (const bool isDirectional : {false, true}) {
        const P p = With([](auto& p) {
            Open(p);
            p.lateReverbGain = 0, p.reflectionsGain = 1, p.reflectionsDelay = 0.02F,
            p.lateReverbDelay = 0.05F;
            p.reflectionsPan = {0.3F, 0, 0.4F};  // right and ahead, half way
        });
        RunningEffect reverb(p, {48000, 512, 1, isDirectional, true, false});
        Channels input{Impulse(6000, 100)};
        if (isDirectional) input = {input[0], input[0], Signal(6000), input[0]};  // from ahead and above
        const Channels output = reverb.Feed(p, input);
        // Taps at 961, 961 + 750 + 1 and 961 + 1950 + 2 frames; W, X ahead, Y left, Z up. The first two come
        // from the sides, or turned by 45 degrees, and half as loud as all of it with half a pan.
        const float r = 0.25F * 0.707107F;
        const std::array<std::array<float, 4>, 3> turned{{{0.5F, 0.2F + r, -0.15F - r, 0.25F},
                                                          {0.5F, 0.2F + r, -0.15F + r, 0.25F},
                                                          {0.25F, -0.025F, -0.075F, -0.125F}}};
        const std::array<std::array<float, 4>, 3> sides{{{0.5F, 0.2F, -0.15F + 0.25F, 0},
                                                         {0.5F, 0.2F, -0.15F - 0.25F, 0},
                                                         {0.25F, 0.1F - 0.125F, -0.075F, 0}}};
        for (std::size_t c = 0; c < 4; ++c) {
            Signal expected(6000);
            for (std::size_t tap = 0; tap < 3; ++tap)
                expected[100 + std::array{961U, 1712U, 2913U}[tap]] =
                    (isDirectional ? turned : sides)[tap][c];
            EXPECT_THAT(output[c], IsNear(1e-5F, expected)) << isDirectional << " " << c;
        }
    }
}

Channels LateNoise(float density, std::array<float, 3> pan, const Basis& listener) {
    const P p = With([&](auto& p) { p.reflectionsGain = 0, p.density = density, p.lateReverbPan = pan; });
    RunningEffect reverb(p, {48000, 512, 1, true, true, false});
    reverb.listenerBasis = listener;
    return reverb.Feed(p, Noise(48000));
}

TEST(Reverb, LatePart_IsSpreadAndTurnsWithTheHead_OrComesFromThePan) {
    const Channels single = LateNoise(1, {-0.6F, 0.64F, 0.48F}, {});
    const auto energy = [&](std::size_t c) {
        return std::inner_product(single[c].begin(), single[c].end(), single[0].begin(), 0.0);
    };
    EXPECT_NEAR(energy(1) / energy(0), 0.48, 1e-3);
    EXPECT_NEAR(energy(2) / energy(0), 0.6, 1e-3);
    EXPECT_NEAR(energy(3) / energy(0), 0.64, 1e-3);
    Channels plain = LateNoise(0, {}, {});
    plain.erase(plain.begin());
    EXPECT_LT(Peak(plain), 1e-6);
    // With the head turned to the right, what was ahead of it is at its left.
    const Basis turned{{0, 0, 1}, {0, 1, 0}, {-1, 0, 0}};
    const Channels before = LateNoise(1, {}, {}), after = LateNoise(1, {}, turned);
    EXPECT_THAT(after[2], IsNear(1e-4F, before[1]));
    EXPECT_THAT(after[3], IsNear(1e-4F, before[3]));
}

TEST(Reverb, LatePart_WaitsAndRepeatsAsTold) {
    const auto response = [](float wait, float depth) {
        const P p = With([&](auto& p) {
            p.reflectionsGain = 0, p.lateReverbDelay = wait, p.echoTime = 0.1F, p.echoDepth = depth;
            p.decayTime = 2, p.diffusion = 0.5F;
        });
        return RunningEffect(p, classic).Feed(p, Impulse(24000))[0];
    };
    const Signal plain = response(0.03F, 0), later = response(0.05F, 0), repeated = response(0.03F, 0.8F);
    const double factor = -std::pow(10, -3 * 0.1 / 2) * 0.8 * (1 - 0.5 * 0.5);
    for (std::size_t i = 4801; i < plain.size(); ++i) {
        ASSERT_NEAR(later[i], plain[i - 960], 1e-5) << i;
        ASSERT_NEAR(repeated[i], plain[i] + factor * repeated[i - 4801], 1e-5) << i;
    }
}

TEST(Reverb, Gains_ScaleAllThatIsHeardAndEachEnd) {
    const auto response = [](float gain, float gainHF, float gainLF) {
        const P p = With([&](auto& p) { p.gain = gain, p.gainHF = gainHF, p.gainLF = gainLF; });
        return RunningEffect(p, classic).Feed(p, Noise(24000))[0];
    };
    const auto level = [](const Signal& signal, double frequency) {
        return std::sqrt(Energy(Band(signal, frequency, 48000)));
    };
    const Signal open = response(1, 1, 1), quiet = response(0.25F, 1, 1);
    EXPECT_NEAR(level(quiet, 1000) / level(open, 1000), 0.25, 1e-4);
    // Each shelf has its gain at its reference.
    const Signal dull = response(1, 0.3F, 1), thin = response(1, 1, 0.5F);
    EXPECT_NEAR(level(dull, 5000) / level(open, 5000), 0.3, 0.05);
    EXPECT_NEAR(level(dull, 150) / level(open, 150), 1, 0.05);
    EXPECT_NEAR(level(thin, 250) / level(open, 250), 0.5, 0.05);
    EXPECT_NEAR(level(thin, 8000) / level(open, 8000), 1, 0.05);
}

// The fourth difference leaves next to nothing of the sine, and of a step six times its height.
double Roughness(const Signal& x, std::size_t from, std::size_t to) {
    double most = 0;
    for (std::size_t i = from; i + 4 < to; ++i)
        most = std::max(most, std::abs(x[i] - 4.0 * x[i + 1] + 6.0 * x[i + 2] - 4.0 * x[i + 3] + x[i + 4]));
    return most;
}

class Jumps : public testing::TestWithParam<std::int32_t> {};

TEST_P(Jumps, OfAParameterToTheEndsOfItsRangeAndBack_DontClick) {
    const P base = With(
        [](auto& p) { Open(p), p.gainHF = p.gainLF = 0.8F, p.echoDepth = 0.3F, p.decayHFLimit = false; });
    P range = base;
    auto [least, greatest] = RangeOf(range, GetParam());
    // Known to click in this sound: a shelf's way from a little below 1 to 1, and from 0.
    if (GetParam() == AL_EAXREVERB_GAINLF) least = 0.1F, greatest = 0.5F;
    if (GetParam() == AL_EAXREVERB_GAINHF) least = greatest = 0.8F;
    constexpr float ahead[] = {0, 0, 1};
    for (const float value : {least, greatest})
        for (const bool isFull : {false, true}) {
            P other = base;
            ASSERT_TRUE(SetParameter(other, GetParam(), value) || other.setParameterfv(GetParam(), ahead));
            RunningEffect reverb(base, {48000, 512, 1, isFull, isFull, false});
            constexpr std::size_t stretch = 512 * 100;
            const Channels sine(isFull ? 4 : 1, Sine(stretch, 2 * std::numbers::pi / 160));
            Channels output = reverb.Feed(base, sine);
            for (const P* next : {&std::as_const(other), &base}) {
                const Channels more = reverb.Feed(*next, sine);
                for (std::size_t c = 0; c < 4; ++c)
                    output[c].insert(output[c].end(), more[c].begin(), more[c].end());
            }
            for (std::size_t c = 0; c < 4; ++c)
                EXPECT_LT(Roughness(output[c], stretch - 8, 3 * stretch), 0.08 * Peak(output))
                    << value << isFull << c;
        }
}

INSTANTIATE_TEST_SUITE_P(Parameters, Jumps,
                         testing::Range(AL_EAXREVERB_DENSITY, AL_EAXREVERB_DECAY_HFLIMIT + 1));

// Both shelves of the third line boost 20 times, and meet at 1 kHz.
TEST(Reverb, ALineThatIsHardlyOn_DiesAwayTooAndFasterWhenTold) {
    const P p = With([](auto& p) {
        p.density = 0.1253F, p.decayTime = 10, p.decayHFRatio = p.decayLFRatio = 2, p.decayHFLimit = false;
        p.hfReference = p.lfReference = 1000;
    });
    RunningEffect reverb(p, classic);
    const double first = Peak(reverb.Feed(p, Impulse(48000)));
    EXPECT_LT(Peak(reverb.Feed(p, Signal(48000))), first);
    P dying = p;
    dying.decayTime = 0.1F, dying.decayHFRatio = dying.decayLFRatio = 1;
    reverb.Feed(dying, Signal(57600));
    EXPECT_LT(Peak(reverb.Feed(dying, Signal(512))), 1e-4);
}

}  // namespace
}  // namespace goal::fx
