// The reverb by what a room is measured by: decay times, echo density, where sound comes from and when; and
// what no reverb may do: click, blow up, keep a bad sample, sound different on another processor.

#include "goal/fx/reverb.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <numbers>
#include <numeric>
#include <random>
#include <string>
#include <utility>

#include "AL/efx.h"
#include "tests/goal/fx/effectfixture.h"
#include "tests/support/vectortargets.h"

namespace goal::fx {
namespace {

using namespace testing_support;

EAXReverbParameters With(const std::function<void(EAXReverbParameters&)>& change) {
    EAXReverbParameters parameters;
    change(parameters);
    return parameters;
}

// A sound for the reverb's input, with directions or without.
Channels Input(bool isDirectional, const Signal& w) {
    Channels field(isDirectional ? 4 : 1, w);
    for (std::size_t c = 1; c < field.size(); ++c)
        for (float& sample : field[c])
            sample *= 0.5F / static_cast<float>(c);
    return field;
}

double Peak(const Channels& channels) {
    double peak = 0;
    for (const Signal& channel : channels)
        for (const float sample : channel)
            peak = std::isfinite(sample) ? std::max(peak, std::abs(double{sample}))
                                         : std::numeric_limits<double>::infinity();
    return peak;
}

// An octave around `frequency`: three resonances in a row.
std::vector<double> Octave(const Signal& signal, double frequency, double rate) {
    std::vector<double> samples(signal.begin(), signal.end());
    const double w = 2 * std::numbers::pi * frequency / rate, alpha = std::sin(w) / 3.8;
    for (int pass = 0; pass < 3; ++pass) {
        double x1 = 0, x2 = 0, y1 = 0, y2 = 0;
        for (double& x : samples) {
            const double y = (alpha * (x - x2) + 2 * std::cos(w) * y1 - (1 - alpha) * y2) / (1 + alpha);
            x2 = std::exchange(x1, x);
            y2 = std::exchange(y1, y);
            x = y;
        }
    }
    return samples;
}

// Schroeder's backward integration (1965), and the slope from -5 to -35 dB.
double DecayTime(const std::vector<double>& samples, double rate) {
    std::vector<double> energy(samples.size() + 1);
    for (std::size_t i = samples.size(); i-- > 0;)
        energy[i] = energy[i + 1] + samples[i] * samples[i];
    double n = 0, t = 0, l = 0, tt = 0, tl = 0;
    for (std::size_t i = 0; i < samples.size(); i += 16) {
        const double time = static_cast<double>(i) / rate, level = 10 * std::log10(energy[i] / energy[0]);
        if (level > -5 || level < -35) continue;
        n += 1, t += time, l += level, tt += time * time, tl += time * level;
    }
    return -60 * (n * tt - t * t) / (n * tl - t * l);
}

struct Room {
    std::string name;
    float decayTime, highRatio, lowRatio;
    double high, low;  // what the ratios come to at the references: of a boost, a shelf is half up there
    float density, diffusion;
    float hfReference = 5000, lfReference = 250;
};

// A room as short as the first one is diffused away: the all-passes alone ring for 0.3 s.
class DecayTimes : public testing::TestWithParam<Room> {};

TEST_P(DecayTimes, AreThoseAskedForInTheMiddleAndAtTheReferences) {
    const Room& room = GetParam();
    const EAXReverbParameters p = With([&](auto& p) {
        p.decayTime = room.decayTime, p.decayHFRatio = room.highRatio, p.decayLFRatio = room.lowRatio;
        p.density = room.density, p.diffusion = room.diffusion, p.reflectionsGain = 0;
        p.hfReference = room.hfReference, p.lfReference = room.lfReference;
    });
    for (const double rate : {44100.0, 48000.0, 96000.0})
        for (const bool isFull : {false, true}) {
            SCOPED_TRACE(std::to_string(rate) + (isFull ? " full" : " small"));
            RunningEffect reverb(p, {rate, 512, 1, isFull, isFull});
            Signal tail = reverb.Feed(p, Impulse(std::size_t(rate * (1.2 * room.decayTime + 0.5))))[0];
            tail.erase(tail.begin(), tail.begin() + std::ptrdiff_t(rate * 0.17));
            const auto ratio = [&](double frequency) {
                return DecayTime(Octave(tail, frequency, rate), rate) / room.decayTime;
            };
            EXPECT_NEAR((ratio(707) + ratio(1000) + ratio(1414)) / 3, 1, 0.1);
            EXPECT_NEAR(ratio(room.hfReference) / room.high, 1, 0.1);
            EXPECT_NEAR(ratio(room.lfReference) / room.low, 1, 0.1);
        }
}

INSTANTIATE_TEST_SUITE_P(Rooms, DecayTimes,
                         testing::Values(Room{"Room", 0.4F, 0.83F, 1, 0.83, 1, 0.4287F, 0},
                                         Room{"ConcertHall", 3.92F, 0.7F, 1, 0.7, 1, 1, 1},
                                         Room{"Cave", 2.91F, 1.3F, 1, 1.13, 1, 1, 1},
                                         Room{"CastleHall", 3.14F, 0.79F, 1.31F, 0.79, 1.15, 1, 0.81F,
                                              5168.6F, 139.5F}),
                         [](const auto& test) { return test.param.name; });

// Normalized echo density (Abel and Huang, 2006) over windows of 20 ms: 1 for Gaussian noise.
TEST(Reverb, EchoDensity_GrowsToThatOfNoise) {
    const EAXReverbParameters p = With([](auto& p) { p.decayTime = 3, p.reflectionsGain = 0; });
    RunningEffect reverb(p);
    const Signal tail = reverb.Feed(p, Impulse(72000))[0];
    const auto density = [&](double from, double seconds) {
        double outside = 0;
        const auto count = std::size_t(seconds * 48000), window = std::size_t{960};
        for (std::size_t i = std::size_t(from * 48000), end = i + count; i < end; i += window) {
            const double power = std::inner_product(&tail[i], &tail[i] + window, &tail[i], 0.0) / 960;
            outside +=
                double(std::count_if(&tail[i], &tail[i] + window, [&](double x) { return x * x > power; }));
        }
        return outside / double(count) / std::erfc(std::numbers::sqrt2 / 2);
    };
    EXPECT_LT(density(0.08, 0.02), 0.7);
    EXPECT_LT(density(0.1, 0.06), density(0.5, 0.2));
    EXPECT_NEAR(density(1, 0.4), 1, 0.07);
}

// Gains that let the output through as it is.
void Open(EAXReverbParameters& p) {
    p.gain = p.gainHF = p.gainLF = 1;
}

TEST(Reverb, EarlyReflections_ComeWhenAndFromWhereTheyShould) {
    for (const bool isDirectional : {false, true}) {
        const EAXReverbParameters p = With([](auto& p) {
            Open(p);
            p.lateReverbGain = 0, p.reflectionsGain = 1, p.reflectionsDelay = 0.02F,
            p.lateReverbDelay = 0.05F;
            p.reflectionsPan = {0.3F, 0, 0.4F};  // right and ahead, half way
        });
        RunningEffect reverb(p, {48000, 512, 1, isDirectional, true});
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

TEST(Reverb, LatePart_IsSpreadAndTurnsWithTheHead_OrComesFromThePan) {
    const auto energies = [](float density, std::array<float, 3> pan, const Basis& listener) {
        const EAXReverbParameters p =
            With([&](auto& p) { p.reflectionsGain = 0, p.density = density, p.lateReverbPan = pan; });
        RunningEffect reverb(p, {48000, 512, 1, true, true});
        reverb.listenerBasis = listener;
        std::array<double, 4> sums{};
        const Channels output = reverb.Feed(p, Noise(48000));
        for (std::size_t c = 0; c < 4; ++c)
            sums[c] = std::inner_product(output[c].begin(), output[c].end(), output[0].begin(), 0.0) /
                      std::inner_product(output[0].begin(), output[0].end(), output[0].begin(), 0.0);
        return std::pair{sums, output};
    };
    const Basis turned{{0, 0, 1}, {0, 1, 0}, {-1, 0, 0}};
    const auto [single, unused] = energies(1, {-0.6F, 0.64F, 0.48F}, {});
    for (std::size_t c = 1; c < 4; ++c)
        EXPECT_NEAR(single[c], (std::array{0.0, 0.48, 0.6, 0.64})[c], 1e-3) << c;
    Channels plain = energies(0, {}, {}).second;
    plain.erase(plain.begin());
    EXPECT_LT(Peak(plain), 1e-6);
    // With the head turned to the right, what was ahead of it is at its left.
    const Channels before = energies(1, {}, {}).second, after = energies(1, {}, turned).second;
    EXPECT_THAT(after[2], IsNear(1e-4F, before[1]));
    EXPECT_THAT(after[3], IsNear(1e-4F, before[3]));
}

TEST(Reverb, LatePart_WaitsAndRepeatsAsTold) {
    const auto response = [](float wait, float depth) {
        const EAXReverbParameters p = With([&](auto& p) {
            p.reflectionsGain = 0, p.lateReverbDelay = wait, p.echoTime = 0.1F, p.echoDepth = depth;
            p.decayTime = 2, p.diffusion = 0.5F;
        });
        return RunningEffect(p).Feed(p, Impulse(24000))[0];
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
        const EAXReverbParameters p =
            With([&](auto& p) { p.gain = gain, p.gainHF = gainHF, p.gainLF = gainLF; });
        return RunningEffect(p).Feed(p, Noise(24000))[0];
    };
    const auto level = [](const Signal& signal, double frequency) {
        const std::vector<double> octave = Octave(signal, frequency, 48000);
        return std::sqrt(std::inner_product(octave.begin(), octave.end(), octave.begin(), 0.0));
    };
    const Signal open = response(1, 1, 1), quiet = response(0.25F, 1, 1);
    for (std::size_t i = 0; i < open.size(); ++i)
        ASSERT_NEAR(quiet[i], 0.25F * open[i], 1e-5) << i;
    // Each shelf has its gain at its reference.
    const Signal dull = response(1, 0.3F, 1), thin = response(1, 1, 0.5F);
    EXPECT_NEAR(level(dull, 5000) / level(open, 5000), 0.3, 0.05);
    EXPECT_NEAR(level(dull, 150) / level(open, 150), 1, 0.05);
    EXPECT_NEAR(level(thin, 250) / level(open, 250), 0.5, 0.05);
    EXPECT_NEAR(level(thin, 8000) / level(open, 8000), 1, 0.05);
}

using Change = std::function<void(EAXReverbParameters&)>;

class Jumps : public testing::TestWithParam<Change> {};

// The fourth difference leaves next to nothing of the sine, and of a step six times its height.
double Roughness(const Signal& x, std::size_t from, std::size_t to) {
    double most = 0;
    for (std::size_t i = from; i + 4 < to; ++i)
        most = std::max(most, std::abs(x[i] - 4.0 * x[i + 1] + 6.0 * x[i + 2] - 4.0 * x[i + 3] + x[i + 4]));
    return most;
}

TEST_P(Jumps, OfAParameterUpAndDownAgain_DontClick) {
    const EAXReverbParameters base =
        With([](auto& p) { Open(p), p.gainHF = p.gainLF = 0.8F, p.echoDepth = 0.3F; });
    EAXReverbParameters other = base;
    GetParam()(other);
    for (const bool isFull : {false, true}) {
        RunningEffect reverb(base, {48000, 512, 1, isFull, isFull});
        constexpr std::size_t stretch = 512 * 100;
        const Signal sine = Sine(stretch, 2 * std::numbers::pi / 160);
        Channels output = reverb.Feed(base, Input(isFull, sine));
        for (const EAXReverbParameters* next : {&std::as_const(other), &base}) {
            const Channels more = reverb.Feed(*next, Input(isFull, sine));
            for (std::size_t c = 0; c < 4; ++c)
                output[c].insert(output[c].end(), more[c].begin(), more[c].end());
        }
        for (std::size_t c = 0; c < 4; ++c)
            EXPECT_LT(Roughness(output[c], stretch - 8, 3 * stretch), 0.08 * Peak(output)) << isFull << c;
    }
}

template <auto field>
Change To(float value) {
    return [value](EAXReverbParameters& p) { p.*field = {value}; };
}

using P = EAXReverbParameters;
INSTANTIATE_TEST_SUITE_P(
    Parameters, Jumps,
    testing::Values(
        To<&P::density>(0), To<&P::diffusion>(0), To<&P::gain>(0.1F), To<&P::gainHF>(0.1F),
        To<&P::gainLF>(0.1F), To<&P::decayTime>(20), To<&P::decayTime>(0.1F),
        [](P& p) { p.decayHFRatio = 2, p.decayHFLimit = false; }, To<&P::decayLFRatio>(0.1F),
        To<&P::reflectionsGain>(3.16F), To<&P::reflectionsDelay>(0.3F), To<&P::reflectionsPan>(1),
        To<&P::lateReverbGain>(10), To<&P::lateReverbDelay>(0.1F), [](P& p) { p.lateReverbPan[2] = 1; },
        [](P& p) { p.echoTime = 0.075F, p.echoDepth = 0.6F; }, To<&P::modulationDepth>(0.5F),
        To<&P::hfReference>(1000), To<&P::lfReference>(1000)));

// Noise, samples that are no numbers, an impulse, denormals and silence into a reverb with every
// parameter at a limit in turn, and others anywhere between them.
TEST(Reverb, AtAllLimits_StaysBoundedAndDiesAway) {
    Signal bad = Noise(512);
    bad[3] = std::numeric_limits<float>::quiet_NaN();
    bad[500] = -std::numeric_limits<float>::infinity();
    std::minstd_rand generator(1);
    int round = 0;
    for (const double rate : {8000.0, 22050.0, 44100.0, 48000.0, 96000.0, 192000.0})
        for (int at = 0; at < 2 * AL_EAXREVERB_ROOM_ROLLOFF_FACTOR; ++at, ++round) {
            const std::uint32_t blockFrames = std::array{128U, 257U, 512U, 1024U}[std::size_t(round) % 4];
            EAXReverbParameters p;
            for (std::int32_t name = 1; name <= AL_EAXREVERB_ROOM_ROLLOFF_FACTOR; ++name) {
                const auto [least, greatest] = RangeOf(p, name);
                const double part = name == at / 2 + 1 ? at % 2 : double(generator() % 1024) / 1023;
                SetParameter(p, name, float(std::lerp(double(least), double(greatest), part)));
            }
            p.decayHFLimit = round % 3 == 0, p.gain = 1;
            RunningEffect reverb(p, {rate, blockFrames, 1, round % 2 == 0, round % 5 < 3});
            const auto frames = std::size_t(rate * StretchSeconds(0.1));
            double loud = 0;
            for (const Signal& part : {Noise(frames), bad, Impulse(frames), Signal(frames, 1e-40F)})
                loud = std::max(loud, Peak(reverb.Feed(p, Input(round % 2 == 0, part))));
            EXPECT_LT(loud, 250) << round;
            EXPECT_EQ(reverb.allocations, 0U) << round;
            EAXReverbParameters dying = p;
            dying.decayTime = 0.1F, dying.decayHFRatio = dying.decayLFRatio = 1, dying.echoDepth = 0;
            reverb.Feed(dying, Signal(std::size_t(rate * 1.2)));
            EXPECT_LT(Peak(reverb.Feed(dying, Signal(512))), 1e-4) << round;
        }
}

// Both shelves of the third line boost 20 times, and meet at 1 kHz.
TEST(Reverb, ALineThatIsHardlyOn_DiesAwayToo) {
    const EAXReverbParameters p = With([](auto& p) {
        p.density = 0.1253F, p.decayTime = 10, p.decayHFRatio = p.decayLFRatio = 2, p.decayHFLimit = false;
        p.hfReference = p.lfReference = 1000;
    });
    RunningEffect reverb(p);
    const double first = Peak(reverb.Feed(p, Impulse(48000)));
    EXPECT_LT(Peak(reverb.Feed(p, Signal(48000))), first);
}

TEST(Reverb, TheSizeOfBlocks_DoesNotMatter) {
    const EAXReverbParameters p = With([](auto& p) {
        p.density = 0.9F, p.diffusion = 0.7F, p.echoDepth = 0.6F, p.modulationDepth = 0.4F, p.gainLF = 0.5F;
        p.decayHFRatio = 1.5F, p.decayHFLimit = false, p.decayLFRatio = 0.6F;
    });
    for (const double rate : {8000.0, 48000.0}) {
        const auto frames = std::size_t(rate);
        const Channels input = Input(true, Noise(frames));
        RunningEffect reference(p, {rate, 32, 1, true, true});
        const Channels expected = reference.Feed(p, input);
        for (const std::uint32_t blockFrames : {67U, 512U, 1024U}) {
            RunningEffect reverb(p, {rate, blockFrames, 1, true, true});
            const Channels output = reverb.Feed(p, input);
            for (std::size_t c = 0; c < 4; ++c)
                EXPECT_THAT(output[c], IsNear(1e-4F, expected[c])) << rate << " " << blockFrames;
        }
    }
}

TEST(Reverb, OnEveryVectorTarget_HasTheSameBits) {
    const EAXReverbParameters p = With([](auto& p) { p.density = 0.9F, p.decayHFRatio = 1.2F; });
    const EAXReverbParameters q = With([](auto& p) { p.density = 0.3F, p.lateReverbPan = {0.5F, 0, 0}; });
    for (const bool isFull : {false, true})
        ExpectSameOnEveryTarget([&] {
            const Channels input = Input(isFull, Noise(15000));
            RunningEffect reverb(p, {44100, 512, 1, isFull, isFull});
            return std::pair(reverb.Feed(p, input), reverb.Feed(q, input));
        });
}

}  // namespace
}  // namespace goal::fx
