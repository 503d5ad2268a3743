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

/// Power of the sine of `frequency` (radians a frame) over the rest, in dB, both under a Hann window.
double SignalToNoise(const std::vector<float>& signal, double frequency) {
    const auto size = static_cast<double>(signal.size());
    const auto window = [&](double i) { return 1 - std::cos(2 * std::numbers::pi * i / size); };
    std::complex<double> sine = 0;
    for (double i = 0; i < size; ++i)
        sine += window(i) * signal[static_cast<std::size_t>(i)] * std::polar(2 / size, -frequency * i);
    double noise = 0;
    for (double i = 0; i < size; ++i) {
        const double fitted = (sine * std::polar(1.0, frequency * i)).real();
        noise += window(i) * std::pow(signal[static_cast<std::size_t>(i)] - fitted, 2) / size;
    }
    return 10 * std::log10(std::norm(sine) / 2 / noise);
}

TEST_P(EveryQuality, SineFrom44100To48000_KeepsItsSignalToNoiseRatio) {
    for (const auto& [hertz, floor] : {std::pair{1000.0, shape.snr1kHz}, {10000.0, shape.snr10kHz}}) {
        ConverterState state;
        initialise(state, converter.start);
        setRatio(state, 44100.0 / 48000);
        std::vector<float> output(20000);
        for (std::uint32_t pushed = 0; float& value : output) {
            const double angle = 2 * std::numbers::pi * hertz / 44100;
            std::uint32_t toPush = 0;
            std::uint32_t one = 0;
            planBlock(state, 100, 1, toPush, one);
            for (; toPush > 0; --toPush)
                push(state, static_cast<float>(std::sin(angle * pushed++)));
            value = produce(state);
        }
        EXPECT_GT(SignalToNoise(output, 2 * std::numbers::pi * hertz / 44100 * state.step / 524288), floor)
            << hertz;
    }
}

INSTANTIATE_TEST_SUITE_P(Qualities, EveryQuality,
                         testing::Values(Shape{SincQuality::Low, 4, 16, 62, 29},
                                         Shape{SincQuality::Medium, 8, 32, 62, 42},
                                         Shape{SincQuality::High, 16, 64, 60, 43}));

TEST(SampleRateConverter, OtherQualities_AreRefused) {
    for (const std::int32_t quality : {-1, 0, 1, 5})
        EXPECT_THROW(SampleRateConverter{static_cast<SincQuality>(quality)}, slib::IntegrityFailureException);
}

}  // namespace
}  // namespace goal
