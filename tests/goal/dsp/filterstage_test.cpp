#include "goal/dsp/filterstage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <span>
#include <utility>
#include <vector>

#include "slib/exception.h"
#include "tests/support/signals.h"

namespace goal {
namespace {

using namespace testing_support;
constexpr float inf = std::numeric_limits<float>::infinity();
constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr double pi2 = 2 * std::numbers::pi;

const FilterGainTables& Tables(double rate) {
    static FilterGainTables tables;
    buildFilterTables(tables, rate, false);
    return tables;
}

FilterParameters Filter(float gain, float gainHF = 1, float gainLF = 1, int order = 1) {
    return {.type = FilterType::BandPass, .order = order, .gain = gain, .gainHF = gainHF, .gainLF = gainLF};
}

// One path, which takes a signal block by block. What is silent comes out as zeros.
struct Path {
    Signal Run(const FilterParameters& filter, const Signal& signal, std::size_t block = 512) {
        Signal result;
        for (std::size_t begin = 0; begin < signal.size(); begin += block) {
            hcml::FloatTupleVector input(static_cast<std::uint32_t>(std::min(block, signal.size() - begin)));
            hcml::FloatTupleVector output;
            std::copy_n(&signal[begin], input.size, input.data);
            silent = filterOne(filter, state, input, output, tables, settings);
            if (silent) output.clear();
            result.insert(result.end(), output.data, output.data + output.size);
        }
        return result;
    }

    const FilterGainTables& tables = Tables(48000);
    FilterStageSettings settings{};
    SourceFilterState state{};
    bool silent = false;
};

double Level(const Signal& signal, double frequency, double rate = 48000) {
    return std::abs(SpectrumAt(signal, pi2 * frequency / rate));
}

TEST(FilterStage, AtTheReferenceFrequency_HasTheGainAskedFor) {
    for (const double rate : {44100.0, 48000.0, 96000.0})
        for (const int order : {1, 2})
            for (const float gain : {0.002F, 0.01F, 0.1F, 0.35F, 0.7F, 0.975F, 0.999F, 0.99999994F}) {
                SCOPED_TRACE(testing::Message() << rate << " Hz, order " << order << ", gain " << gain);
                const Path path{.tables = Tables(rate)};
                const Signal high = Path(path).Run(Filter(1, gain, 1, order), Impulse(32768), 32768);
                const Signal low = Path(path).Run(Filter(1, 1, gain, order), Impulse(32768), 32768);
                EXPECT_NEAR(20 * std::log10(Level(high, 5000, rate) / gain), 0, 0.3);
                EXPECT_NEAR(20 * std::log10(Level(low, 250, rate) / gain), 0, 0.3);
                EXPECT_NEAR(Level(high, 0), 1, 0.001);
                EXPECT_NEAR(Level(low, 0), 0, 0.001);
            }
}

TEST(FilterStage, SecondOrder_StaysStableAtTheLowestGainAndAHighRate) {
    const Signal output = Path{.tables = Tables(192000)}.Run(Filter(1, 2e-6F, 1, 2), Signal(400000, 1));
    EXPECT_NEAR(output.back(), 1, 0.001);
}

TEST(FilterStage, ChannelsInPlaceInAnyPartitionIntoWholeSteps_AreThePathOfOneChannel) {
    const Signal sine = Sine(1200, pi2 / 48, 0.3);
    for (const int order : {1, 2}) {
        Path path;
        SourceFilterState state;
        for (const float gain : {1.0F, 0.05F, 0.7F, 1.0F}) {
            const FilterParameters filter = Filter(gain, gain, gain, order);
            const Signal expected = path.Run(filter, sine, 1200);
            for (std::size_t i = 0; i < sine.size(); ++i) {
                static hcml::ac::Bus bus(60, 8);
                for (std::uint32_t c = 0; c < 8; ++c)
                    bus.channels[c][i % 60] = sine[i];
                if (i % 60 != 59) continue;
                EXPECT_FALSE(filterChannels(filter, state, bus, bus, path.tables, {}));
                for (std::uint32_t c = 0; c < 8; ++c)
                    EXPECT_THAT(Signal(bus.channels[c], bus.channels[c] + 60),
                                IsNear(2e-6F, {&expected[i - 59], &expected[i] + 1}));
            }
        }
    }
}

TEST(FilterStage, PathsThatWait_AreThePathsOfOneByOne) {
    const Signal sine = Sine(300, pi2 / 48, 0.3);
    SectionBatch waiting(300);
    Path paths[20];
    Signal expected[20];
    SourceFilterState states[20];
    hcml::FloatTupleVector rows[20];
    const float moves[] = {0.3F, 0.31F, 1, 0.3F, 0.3F, 0};
    for (const float move : moves) {
        for (std::uint32_t p = 0; p < 20; ++p) {
            const FilterParameters filter =
                Filter(1 - 0.04F * float(p), move, p % 4 == 3 && move != 0.3F ? 0.5F : 1, 1 + p / 16);
            rows[p].resize(300);
            std::copy(sine.begin(), sine.end(), rows[p].data);
            expected[p] = paths[p].Run(filter, sine, 300);
            if (FilterOneLater(filter, states[p], rows[p], Tables(48000), {}, waiting)) rows[p].clear();
        }
        waiting.Run();
        for (std::uint32_t p = 0; p < 20; ++p)
            EXPECT_THAT(Signal(rows[p].data, rows[p].data + 300), IsNear(1e-6F, expected[p]))
                << move << ", path " << p;
    }
}

TEST(FilterStage, FirstUseAndANewChannelCount_TakeTheGainsAtOnceWithCleanMemory) {
    SourceFilterState state;
    hcml::ac::Bus output;
    for (const std::uint32_t channels : {2u, 4u, 1u}) {
        hcml::ac::Bus input(64, channels);
        const float gain = 1.0F / float(channels);
        state.memory[0].fill(5);
        EXPECT_FALSE(filterChannels(Filter(gain, 0.5F), state, input, output, Tables(48000), {}));
        EXPECT_EQ(output.channelCount, channels);
        EXPECT_EQ(state.gain, gain);
        EXPECT_EQ(output.channels[0][0], 0);
    }
    hcml::ac::Bus tooMany(64, 9);
    EXPECT_THROW(static_cast<void>(filterChannels(Filter(1), state, tooMany, output, Tables(48000), {})),
                 slib::IntegrityFailureException);
}

TEST(FilterStage, GainsThatAreNoGains_EndInSilenceAndLeaveNothingBehind) {
    using Settings = FilterStageSettings;
    for (const Settings& bad : {Settings{.gainFactor = inf}, Settings{.gainFactor = nan},
                                Settings{.gainFactor = -1}, Settings{.hfFactor = nan},
                                Settings{.hfFactor = -inf}, Settings{.gainFactor = 0, .floorScale = 0}}) {
        Path path;
        path.Run(Filter(1, 0.5F), Signal(512, 1));
        path.settings = bad;
        for (const float y : path.Run(Filter(1, 0.5F), Signal(20480, 1)))
            ASSERT_TRUE(y >= -1e-7F && y <= 1.0001F) << y;
        EXPECT_TRUE(path.silent || bad.floorScale == 0);
        path.settings = {};
        EXPECT_NEAR(path.Run(Filter(1, 0.5F), Signal(20480, 1)).back(), 1, 1e-5);
    }
    Path path{.settings = {.gainFactor = 1e38F, .hfFactor = 7}};
    EXPECT_EQ(path.Run(Filter(1), Signal(512, 1)).back(), 1e15F);
}

TEST(FilterStage, MemoryOfSamplesNotFiniteOrOfTheOtherOrder_IsNotTakenOver) {
    for (const float before : {nan, inf, 3e38F, 1.0F}) {
        for (const int order : {1, 2}) {
            Path path;
            path.Run(Filter(1, 0.01F, 0.5F, std::isfinite(before) ? 2 : order), Signal(512, before));
            for (const float y : path.Run(Filter(1, 0.01F, 0.5F, order), Signal(2048, 1)))
                ASSERT_LT(std::abs(y), 2) << before << ", order " << order;
        }
    }
}

// The greatest step from sample to sample beyond what the tone itself does there, at most.
double GreatestJump(const Signal& signal, double angle) {
    double greatest = 0;
    for (std::size_t i = 1; i < signal.size(); ++i)
        greatest = std::max(greatest, std::fabs(double{signal[i]} - signal[i - 1]) - angle);
    return greatest;
}

TEST(FilterStage, Refined_WakesOpensAndClosesWithoutAJump) {
    for (const double frequency : {50.0, 70.0, 100.0})
        for (const int order : {1, 2})
            for (const bool isBand : {false, true}) {
                SCOPED_TRACE(testing::Message() << frequency << " Hz, order " << order << ", " << isBand);
                const double angle = pi2 * frequency / 48000;
                const Signal tone = Sine(24000, angle, 0.4);
                Path waking;
                waking.Run(Filter(0), tone);
                EXPECT_LT(GreatestJump(waking.Run(Filter(1, 1, 1, order), tone), angle), 0.01);
                Path opening;
                Signal opened = opening.Run(Filter(1, isBand ? 0.1F : 1, 0.01F, order), tone);
                const Signal after = opening.Run(Filter(1, 1, 1, order), tone);
                opened.insert(opened.end(), after.begin(), after.end());
                opened.erase(opened.begin(), opened.begin() + 12000);  // the beginning of the tone itself
                EXPECT_LT(GreatestJump(opened, angle), 0.01);
                EXPECT_THAT(Signal(after.end() - 4800, after.end()),
                            IsNear(1e-5F, Signal(tone.end() - 4800, tone.end())));
                Path closing;
                Signal closed = closing.Run(Filter(0.5F, 1, 1, order), tone);
                const Signal muffled = closing.Run(Filter(0.5F, 0.1F, 1, order), tone);
                closed.insert(closed.end(), muffled.begin(), muffled.end());
                closed.erase(closed.begin(), closed.begin() + 12000);
                EXPECT_LT(GreatestJump(closed, angle), 0.01);
            }
}

}  // namespace
}  // namespace goal
