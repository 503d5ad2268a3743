// The refined reverb by what it promises: each decay time, the level, the beginning, the density and the
// colour of its late part, and its field, whatever the other parameters are; and no click from any of them.

#include "goal/fx/reverb_v3.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <numeric>
#include <string>
#include <utility>

#include "AL/efx.h"
#include "numeric/dft.h"
#include "tests/goal/fx/effectfixture.h"
#include "tests/support/roommeasures.h"
#include "tests/support/vectortargets.h"

namespace goal::fx {
namespace {

using namespace testing_support;
using P = EAXReverbParameters;
using Setting = std::function<void(P&)>;

constexpr double pi2 = 2 * std::numbers::pi;

// The late part alone, with all gains 1.
P Late(const Setting& change) {
    P p;
    p.gain = p.gainHF = p.gainLF = p.lateReverbGain = 1;
    p.reflectionsGain = 0;
    change(p);
    return p;
}

Channels Response(const P& p, double seconds, const EffectPlace& place = {}) {
    return RunningEffect(p, place).Feed(p, Impulse(static_cast<std::size_t>(seconds * place.sampleRate)));
}

// Of all first-order channels: one alone is of few modes in a small room.
double TimeAt(const Channels& response, double frequency, double rate, double octaves) {
    std::vector<double> sum(response[0].size());
    for (std::size_t c = 0; c < 4; ++c) {
        const std::vector<double> band = Band(response[c], frequency, rate, octaves);
        for (std::size_t i = 0; i < sum.size(); ++i)
            sum[i] += band[i] * band[i];
    }
    std::transform(sum.begin(), sum.end(), sum.begin(), [](double energy) { return std::sqrt(energy); });
    return DecayTime(sum, rate);
}

double Decibels(double energy) {
    return 10 * std::log10(energy);
}

struct Room {
    std::string name;
    Setting set;
    double middle = 0.05, ends = 0.08;  // how far off decay times may be
};

class RefinedDecayTimes : public testing::TestWithParam<Room> {};

TEST_P(RefinedDecayTimes, AreThoseAskedForInTheMiddleAndAtTheReferences) {
    const Room& room = GetParam();
    const P p = Late(room.set);
    for (const auto& [rate, isFull] : {std::pair(44100.0, true), {48000.0, false}}) {
        SCOPED_TRACE(isFull);
        const double longest = p.decayTime * std::max(1.0F, p.decayLFRatio);
        const Channels response = Response(p, 1.1 * longest + 0.6, {.sampleRate = rate, .isFull = isFull});
        const auto error = [&](double frequency, double ratio, double octaves) {
            return TimeAt(response, frequency, rate, octaves) / (ratio * p.decayTime) - 1;
        };
        // Eight lines have half the modes: what is measured scatters as much more.
        const double more = isFull ? 1 : 1.4;
        EXPECT_NEAR(error(1000, 1, 1), 0, more * room.middle);
        EXPECT_NEAR(error(p.hfReference, p.decayHFRatio, 0.5), 0, more * room.ends);
        EXPECT_NEAR(error(p.lfReference, p.decayLFRatio, 0.5), 0, more * room.ends);
    }
}

const Room refinedRooms[] = {
    {"Room", [](P& p) { p.decayTime = 0.4F, p.density = 0.4287F; }, 0.1, 0.15},
    {"Generic", [](P&) {}},
    {"Underwater", [](P& p) { p.decayHFRatio = 0.1F, p.density = 0.3645F; }, 0.05,
     0.25},  // steep in the band
    {"Cave", [](P& p) { p.decayTime = 2.91F, p.decayHFRatio = 1.3F, p.decayHFLimit = false; }},
    {"Hangar", [](P& p) { p.decayTime = 7, p.decayHFRatio = 0.33F; }},
    {"EmptyHall", [](P& p) { p.decayTime = 3, p.decayHFRatio = 0.6F, p.decayLFRatio = 1.31F; }},
    {"Courtyard",
     [](P& p) {
         p.decayTime = 2.13F, p.decayHFRatio = 0.61F, p.decayLFRatio = 0.5F, p.diffusion = 0.42F;
         p.echoDepth = 0.37F;
     }},
    {"Plain",
     [](P& p) { p.decayHFRatio = 0.5F, p.diffusion = 0.21F, p.echoDepth = 1, p.decayHFLimit = false; }}};
INSTANTIATE_TEST_SUITE_P(Rooms, RefinedDecayTimes, testing::ValuesIn(refinedRooms),
                         [](const auto& test) { return test.param.name; });

TEST(RefinedReverb, ShortRooms_AreAsShortAsAsked) {
    for (const float time : {0.1F, 0.2F, 0.4F}) {
        double sum = 0;
        for (const float density : {0.1F, 0.4F, 1.0F}) {
            const P p = Late([&](P& q) { q.decayTime = time, q.density = density, q.decayHFRatio = 1; });
            const Signal w = Response(p, 1)[0];
            sum += DecayTime({w.begin(), w.end()}, 48000) / time / 3;
        }
        EXPECT_NEAR(sum, 1, 0.1) << time;
    }
}

TEST(RefinedReverb, OddCorner_OfAllThatLengthens_IsNotMuchLongerThanAsked) {
    const P p = Late([](P& q) {
        q.decayTime = 0.1F, q.decayHFRatio = q.decayLFRatio = 2, q.decayHFLimit = false;
        q.hfReference = q.lfReference = 1000;
    });
    const Channels response = Response(p, 1);
    for (const double frequency : {500.0, 1000.0, 4000.0})
        EXPECT_LT(TimeAt(response, frequency, 48000, 1), 1.2 * 0.2);
}

TEST(RefinedReverb, Level_IsThatOfTheGainsWhateverTheRoom) {
    const auto level = [](const Setting& set, const EffectPlace& place) {
        const P p = Late([&](P& q) { q.decayHFLimit = false, q.decayHFRatio = 1, set(q); });
        return Decibels(Energy(Response(p, 0.5 + p.decayTime, place)[0]));
    };
    for (const bool isFull : {false, true}) {
        const EffectPlace place{.order = 1, .isFull = isFull};
        for (const float time : {0.1F, 0.5F, 1.49F, 5.0F, 20.0F})
            EXPECT_NEAR(level([=](P& p) { p.decayTime = time; }, place), 0.4, 1) << time;
        for (const float part : {0.0F, 0.3F, 0.6F}) {
            EXPECT_NEAR(level([=](P& p) { p.density = part; }, place), 0.4, 1) << part;
            EXPECT_NEAR(level([=](P& p) { p.diffusion = part; }, place), 0.4, 1) << part;
        }
        EXPECT_NEAR(level([](P& p) { p.echoDepth = 1, p.diffusion = 0, p.decayTime = 5; }, place), 0.4, 1);
        EXPECT_NEAR(level([](P& p) { p.gain = 0.5F, p.lateReverbGain = 2; }, place), 0.4, 1);
    }
}

TEST(RefinedReverb, SoftRoom_IsHeard) {
    const P p = Late([](P& q) {
        q.decayTime = 0.5F, q.decayHFRatio = 0.1F, q.gainHF = 0.001F, q.gain = 0.3162F,
        q.lateReverbGain = 0.2805F;
    });
    const double heard = Energy(Band(Response(p, 1)[0], 300, 48000, 2));
    EXPECT_NEAR(Decibels(heard / Energy(Band(Impulse(48000, 100), 300, 48000, 2))), -21, 2);
}

TEST(RefinedReverb, LatePart_BeginsWhenItShould) {
    for (const bool isFull : {false, true})
        for (const float density : {0.0F, 0.17F, 1.0F})
            for (const float diffusion : {0.0F, 1.0F}) {
                const P p = Late([&](P& q) { q.density = density, q.diffusion = diffusion; });
                const Signal w = Response(p, 0.5, {.isFull = isFull})[0];
                EXPECT_NEAR(static_cast<double>(Onset(w)) / 48, 18, 3);
            }
}

TEST(RefinedReverb, EchoDensity_IsThatOfNoiseSoon) {
    for (const bool isFull : {false, true})
        for (const float density : {0.17F, 1.0F})
            for (const auto& [diffusion, least] : {std::pair(1.0F, 0.95), {0.5F, 0.8}}) {
                const P p =
                    Late([&](P& q) { q.decayHFRatio = 1, q.density = density, q.diffusion = diffusion; });
                const Signal w = Response(p, 0.5, {.isFull = isFull})[0];
                double sum = 0;
                for (int i = -2; i <= 2; ++i)
                    sum += EchoDensity(w, 0.168 + 0.01 * i, 48000) / 5;
                EXPECT_GT(sum, isFull ? least : least - 0.05) << isFull << density << diffusion;
            }
}

// The tail's spectrum, evened out in thirds of octaves: how far its strongest line is above the mean, in dB,
// and the greatest correlation of what it comes from beyond 4 ms.
std::pair<double, double> Colour(const Signal& response) {
    constexpr std::uint32_t size = 65536;
    hcml::DFT<double> transform;
    transform.setSize(size);
    std::copy_n(response.begin() + 9600, size, transform.timeBuffer);
    transform.ExecuteForward();
    std::vector<double> sums(size / 2 + 1), even(size / 2 + 1);
    for (std::uint32_t k = 1; k <= size / 2; ++k)
        sums[k] = sums[k - 1] + std::norm(transform.frequencyBuffer[k]);
    const auto bin = [](double frequency) { return static_cast<std::uint32_t>(frequency * size / 48000); };
    for (std::uint32_t k = bin(100); k < bin(16000); ++k) {
        const auto low = static_cast<std::uint32_t>(k / 1.1225),
                   high = static_cast<std::uint32_t>(k * 1.1225);
        even[k] = (sums[k] - sums[k - 1]) * (high - low) / (sums[high] - sums[low]);
    }
    std::copy(even.begin(), even.end(), transform.frequencyBuffer);
    const auto first = even.begin() + bin(250), last = even.begin() + bin(4000);
    const double mean = std::accumulate(first, last, 0.0) / static_cast<double>(last - first);
    transform.ExecuteInverse();
    double correlation = 0;
    for (std::uint32_t i = 192; i < 9600; ++i)
        correlation = std::max(correlation, std::abs(transform.timeBuffer[i] / transform.timeBuffer[0]));
    return {Decibels(*std::max_element(first, last) / mean), correlation};
}

TEST(RefinedReverb, Tail_IsHardlyToBeToldFromNoise) {
    const P p = Late([](P& q) { q.decayTime = 1.5F; });
    const auto [mode, correlation] = Colour(Response(p, 2)[0]);
    EXPECT_LT(mode, 11);
    EXPECT_LT(correlation, 0.06);
}

double EnergyOf(const Channels& channels, std::size_t channel) {
    return Energy(channels[channel]);
}

TEST(RefinedReverb, Field_IsDiffuseAndFixedInTheWorld_OrComesFromThePan) {
    const auto response = [](float density, std::array<float, 3> pan, const Basis& listener) {
        const P p = Late([&](P& q) { q.density = density, q.lateReverbPan = pan; });
        RunningEffect reverb(p);
        reverb.listenerBasis = listener;
        return reverb.Feed(p, Impulse(72000));
    };
    const Channels wide = response(1, {}, {}), narrow = response(0.1F, {}, {});
    for (std::size_t axis = 1; axis < 4; ++axis) {
        EXPECT_NEAR(Decibels(EnergyOf(wide, 0) / EnergyOf(wide, axis)), Decibels(3), 1) << axis;
        EXPECT_LT(EnergyOf(narrow, axis) / EnergyOf(narrow, 0),
                  0.8 * EnergyOf(wide, axis) / EnergyOf(wide, 0));
    }
    // With the head turned to the right, what was ahead of it is at its left.
    const Channels turned = response(1, {}, {{0, 0, 1}, {0, 1, 0}, {-1, 0, 0}});
    EXPECT_THAT(turned[2], IsNear(1e-4F, wide[1]));
    EXPECT_THAT(turned[3], IsNear(1e-4F, wide[3]));
    // To the left, up and ahead; half of a pan is on the way there.
    const Channels single = response(1, {-0.6F, 0.64F, 0.48F}, {}),
                   half = response(1, {-0.3F, 0.32F, 0.24F}, {});
    const float direction[] = {1, 0.48F, 0.6F, 0.64F};
    for (std::size_t axis = 1; axis < 4; ++axis) {
        const auto along = [&](const Channels& c) {
            return std::inner_product(c[axis].begin(), c[axis].end(), c[0].begin(), 0.0) / Energy(c[0]);
        };
        EXPECT_NEAR(along(single), direction[axis], 0.01);
        EXPECT_NEAR(along(half), 0.6 * direction[axis], 0.2);
    }
}

// What is above 3 kHz, by Butterworth's filter of the eighth order.
double Above3kHz(const Signal& signal, std::size_t from) {
    std::vector<double> x(signal.begin(), signal.end());
    const double k = std::tan(pi2 / 2 * 3000 / 48000);
    for (const double damping : {0.3902, 1.1111, 1.6629, 1.9616}) {
        double x1 = 0, x2 = 0, y1 = 0, y2 = 0;
        for (double& value : x) {
            const double y = (value - 2 * x1 + x2 - 2 * (k * k - 1) * y1 - (1 - damping * k + k * k) * y2) /
                             (1 + damping * k + k * k);
            x2 = std::exchange(x1, value);
            y2 = std::exchange(y1, y);
            value = y;
        }
    }
    double most = 0;
    for (std::size_t i = from; i < x.size(); ++i)
        most = std::max(most, std::abs(x[i]));
    return 2 * Decibels(most);
}

constexpr std::int32_t slotGain = AL_EAXREVERB_DECAY_HFLIMIT + 1;

class RefinedJumps : public testing::TestWithParam<std::int32_t> {};

TEST_P(RefinedJumps, OfAParameterToTheEndsOfItsRangeAndBack_DontClick) {
    const bool isSlot = GetParam() == slotGain;
    P base;
    base.gain = 1;
    base.gainHF = base.gainLF = 0.8F;
    base.reflectionsGain = 1;
    base.echoDepth = 0.3F;
    P range = base;
    const auto [least, greatest] = isSlot ? std::pair(0.0F, 0.5F) : RangeOf(range, GetParam());
    constexpr float ahead[] = {0, 0, 1};
    constexpr std::size_t stretch = 15360;  // of blocks and of periods
    for (const float value : {least, greatest})
        for (const bool isFull : {false, true}) {
            P other = base;
            ASSERT_TRUE(isSlot || SetParameter(other, GetParam(), value) ||
                        other.setParameterfv(GetParam(), ahead));
            RunningEffect reverb(base, {48000, isFull ? 64U : 512U, 1, isFull, isFull});
            const Channels sine(isFull ? 4 : 1, Sine(stretch, pi2 / 240));
            Channels output = reverb.Feed(base, sine);
            for (const P* next : {&std::as_const(other), &std::as_const(base)}) {
                if (isSlot) reverb.slotGain = next == &base ? 1 : value;
                const Channels more = reverb.Feed(isSlot ? base : *next, sine);
                for (std::size_t c = 0; c < output.size(); ++c)
                    output[c].insert(output[c].end(), more[c].begin(), more[c].end());
            }
            for (std::size_t c = 0; c < output.size(); ++c)
                EXPECT_LT(Above3kHz(output[c], stretch - 8), -50) << value << isFull << c;
        }
}

INSTANTIATE_TEST_SUITE_P(Parameters, RefinedJumps, testing::Range(AL_EAXREVERB_DENSITY, slotGain + 1));

TEST(RefinedReverb, Modulation_IsSmooth) {
    const P p = Late([](P& q) { q.decayTime = 0.3F, q.modulationDepth = 0.3F; });
    const Signal w = RunningEffect(p).Feed(p, Sine(48000, pi2 / 240))[0];
    EXPECT_LT(Above3kHz(w, 24000), -80);
}

TEST(RefinedReverb, IsTheSameOnEveryTarget) {
    P p;
    p.modulationDepth = 0.2F, p.echoDepth = 0.2F;
    P other = p;
    other.density = 0.3F, other.decayTime = 0.7F, other.diffusion = 0.6F;
    for (const bool isFull : {false, true})
        ExpectSameOnEveryTarget([&] {
            RunningEffect reverb(p, {48000, 300, 4, true, isFull});
            const Channels noise(4, Noise(9001));
            Channels output = reverb.Feed(p, noise);
            for (const Signal& channel : reverb.Feed(other, noise))
                output.push_back(channel);
            return output;
        });
}

}  // namespace
}  // namespace goal::fx
