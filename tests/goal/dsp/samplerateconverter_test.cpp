#include "goal/dsp/samplerateconverter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <numeric>
#include <vector>

#include "slib/exception.h"
#include "tests/support/signals.h"

namespace goal {
namespace {

TEST(SincHighTable, TellingRows_AreMetTo0003) {
    const struct {
        std::uint32_t filter, phase;
        testing_support::Signal taps4To10;
        double sum;
    } rows[] = {{0, 0, {0.00061F, -0.00069F, 0.00065F, 0.99954F, 0.00066F, -0.00069F, 0.00060F}, 1.000107},
                {0, 32, {-0.07393F, 0.11885F, -0.21095F, 0.64324F, 0.64023F, -0.20800F, 0.11605F}, 1.003363},
                {10, 0, {0.04237F, -0.14501F, 0.23778F, 0.73221F, 0.23879F, -0.14573F, 0.04413F}, 1.002451},
                {32, 0, {-0.01748F, 0.11503F, 0.27883F, 0.36487F, 0.28000F, 0.11490F, -0.01910F}, 1.007727},
                {63, 0, {0.08476F, 0.10795F, 0.12530F, 0.13429F, 0.12531F, 0.10797F, 0.08478F}, 1.014392}};
    const SampleRateConverter converter(SincQuality::High);
    for (const auto& expected : rows) {
        const float* row = converter.coefficients + (expected.filter * 64 + expected.phase) * 16;
        EXPECT_THAT(std::vector(row + 4, row + 11), testing_support::IsNear(0.003F, expected.taps4To10));
        EXPECT_NEAR(std::accumulate(row, row + 16, 0.0), expected.sum, 0.003);
    }
}

struct Shape {
    SincQuality quality;
    std::uint32_t taps, filters;
    double snr1kHz, snr10kHz;  // dB that 44.1 to 48 kHz reaches at least
};

class EveryQuality : public testing::TestWithParam<Shape> {
protected:
    const Shape shape = GetParam();
    const SampleRateConverter converter{shape.quality};
};

TEST_P(EveryQuality, Rows_SumToALittleOverOne) {
    ASSERT_EQ(converter.filterCount, shape.filters);
    for (std::uint32_t row = 0; row < shape.filters * 64; ++row) {
        const float* const taps = converter.coefficients + row * shape.taps;
        const double sum = std::accumulate(taps, taps + shape.taps, 0.0);
        EXPECT_TRUE(sum > 1 && sum < 1.015) << row << ": " << sum;
    }
}

/// A second of a sine of amplitude 1 in frames at the rate `from`, converted to `to`; without its start.
struct Converted {
    Converted(const SampleRateConverter& converter, double hertz, double from, double to) {
        ConverterState state;
        initialise(state, converter.start);
        setRatio(state, from / to);
        const double angle = 2 * std::numbers::pi * hertz / from;
        frequency = angle * state.step / 524288;
        std::vector<float> output(20256);
        for (std::uint32_t pushed = 0; float& value : output) {
            std::uint32_t toPush = 0;
            std::uint32_t one = 0;
            while (one == 0) {
                planBlock(state, 100, 1, toPush, one);
                for (; toPush > 0; --toPush)
                    push(state, static_cast<float>(std::sin(angle * pushed++)));
            }
            value = produce(state);
        }
        signal.assign(output.begin() + 256, output.end());
    }

    std::vector<float> signal;
    double frequency;  ///< of the sine, in radians a frame
};

/// The power of a signal's sine, and of the rest, both under a Hann window; a sine of amplitude 1 has 1.
struct Powers {
    explicit Powers(const Converted& converted) {
        const std::vector<float>& signal = converted.signal;
        const auto size = static_cast<double>(signal.size());
        const auto window = [&](double i) { return 1 - std::cos(2 * std::numbers::pi * i / size); };
        std::complex<double> amplitude = 0;
        for (double i = 0; i < size; ++i)
            amplitude += window(i) * signal[static_cast<std::size_t>(i)] *
                         std::polar(2 / size, -converted.frequency * i);
        sine = std::norm(amplitude);
        for (double i = 0; i < size; ++i) {
            const double fitted = (amplitude * std::polar(1.0, converted.frequency * i)).real();
            rest += 2 * window(i) * std::pow(signal[static_cast<std::size_t>(i)] - fitted, 2) / size;
        }
    }

    double sine;
    double rest = 0;
};

double Decibels(double power) {
    return 10 * std::log10(power);
}

TEST_P(EveryQuality, SineFrom44100To48000_KeepsItsSignalToNoiseRatio) {
    for (const auto& [hertz, floor] : {std::pair{1000.0, shape.snr1kHz}, {10000.0, shape.snr10kHz}}) {
        const Powers powers(Converted(converter, hertz, 44100, 48000));
        EXPECT_GT(Decibels(powers.sine / powers.rest), floor) << hertz;
    }
}

INSTANTIATE_TEST_SUITE_P(Qualities, EveryQuality,
                         testing::Values(Shape{SincQuality::Low, 4, 16, 62, 29},
                                         Shape{SincQuality::Medium, 8, 32, 62, 42},
                                         Shape{SincQuality::High, 16, 64, 60, 43}));

TEST(SincBest, SineFrom44100To48000_StaysPureAndIsFlatTo20kHz) {
    const SampleRateConverter converter(SincQuality::Best);
    for (const auto& [hertz, floor] : {std::pair{1000.0, 110.0}, {10000.0, 105.0}, {15000.0, 100.0}}) {
        const Powers powers(Converted(converter, hertz, 44100, 48000));
        EXPECT_GT(Decibels(powers.sine / powers.rest), floor) << hertz;
    }
    for (const double hertz : {20.0, 5000.0, 15000.0, 18000.0, 19000.0, 20000.0})
        EXPECT_NEAR(Decibels(Powers(Converted(converter, hertz, 44100, 48000)).sine), 0, 0.3) << hertz;
}

TEST(SincBest, ToneAboveHalfTheOutputRate_IsGoneAndWhatLiesBelowStays) {
    const SampleRateConverter converter(SincQuality::Best);
    for (const auto& [from, to] : {std::pair{48000.0, 44100.0},
                                   {88200.0, 48000.0},
                                   {96000.0, 48000.0},
                                   {192000.0, 48000.0},
                                   {384000.0, 48000.0}}) {
        for (double hertz = to * 0.502; hertz < from / 2; hertz *= 1.07) {
            const Powers powers(Converted(converter, hertz, from, to));
            EXPECT_LT(Decibels(powers.sine + powers.rest), -90) << hertz << " Hz of " << from << " to " << to;
        }
        // The longest filter gets narrower above a ratio of 4.
        const double top = from / to > 4 ? 0.3 : 0.4;
        EXPECT_NEAR(Decibels(Powers(Converted(converter, to * top, from, to)).sine), 0, 0.3) << from;
    }
}

TEST(SampleRateConverter, OtherQualities_AreRefused) {
    for (const std::int32_t quality : {-1, 0, 1, 6})
        EXPECT_THROW(SampleRateConverter{static_cast<SincQuality>(quality)}, slib::IntegrityFailureException);
}

}  // namespace
}  // namespace goal
