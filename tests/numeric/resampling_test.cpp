#include "numeric/resampling.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

#include "numeric/fastconvolver.h"
#include "numeric/firfilter.h"
#include "tests/support/noise.h"

namespace hcml {
namespace {

constexpr double transition = 1000;

// The low-pass between two rates, and where sample 0 of the input comes out of it.
FIRFilter LowPass(double from, double to, double raised) {
    FIRFilter filter;
    filter.window = FIRWindow::Blackman;
    filter.inverseRate = static_cast<float>(1 / raised);
    filter.order = 2 * static_cast<std::int32_t>(2 * raised / transition + 0.5);
    designLowPass(filter, static_cast<float>(std::min(from, to) / 2 - transition));
    return filter;
}

struct Rates {
    double from, to;
    std::uint32_t up, down;
};

// Zeros between the samples, one long convolution, and every down-th of what it gives.
void TestRates(const Rates& rates) {
    const auto [from, to, up, down] = rates;
    const auto input = testing_support::Noise<GenericVector<float, 1>>(400);
    const FIRFilter lowPass = LowPass(from, to, from * up);
    const auto delay = static_cast<std::uint32_t>(lowPass.order) / 2;
    FIRFastConvolver convolver;
    convolver.setFilter(lowPass.taps, input.size * up + 2 * delay);
    GenericVector<float, 1> raised(input.size * up + delay);
    raised.fill(0);
    for (std::uint32_t n = 0; n < input.size; ++n)
        raised[n * up] = input[n] * static_cast<float>(up);
    convolver.process(raised, raised);

    GenericVector<float, 1> output;
    resampleVector(input, output, from, to, transition);
    ASSERT_EQ(output.size, (input.size * up + down - 1) / down);
    for (std::uint32_t m = 0; m < output.size; ++m)
        ASSERT_NEAR(output[m], raised[m * down + delay], 2e-5) << m;
}

TEST(ResampleVector, GivesWhatTheWholeFilterAtTheRaisedRateGives) {
    TestRates({.from = 48000, .to = 44100, .up = 147, .down = 160});
    TestRates({.from = 96000, .to = 32000, .up = 1, .down = 3});
    TestRates({.from = 9001, .to = 8999, .up = 8999, .down = 9001});
}

}  // namespace
}  // namespace hcml
