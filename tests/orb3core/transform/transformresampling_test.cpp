#include "orb3core/transform/transformresampling.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <numbers>
#include <random>

#include "slib/exception.h"

namespace {

using Transform = orb3::strans::TimeDomainTransform<float, 1>;

constexpr std::uint32_t length = 1024;
constexpr std::uint32_t quiet = 100;  // samples at either end of a response, more than the low-pass reaches

// Noise in the middle of the window. What stands behind it is there to be cleared.
Transform Noise(std::uint32_t start, std::uint32_t width) {
    Transform transform{48000, start, width, {1, 2}};
    std::minstd_rand random(start + 1);
    for (auto& impulse : transform.impulses) {
        impulse.resize(length);
        impulse.fill(0);
        for (std::uint32_t k = quiet; k < width - quiet; ++k)
            impulse[(start + k) % length] = static_cast<float>(random()) / 1e9f - 1;
        impulse[(start + width) % length] = 7;
    }
    return transform;
}

// The response at `frequency`, in Hz, by the places of the samples in time. A window that reaches over the
// end of the ring begins before time zero.
std::complex<double> ResponseAt(const Transform& transform, std::uint32_t element, double frequency) {
    const auto& impulse = transform.impulses[element];
    const bool isEarly = transform.start + transform.width > impulse.size;
    const double begin = static_cast<double>(transform.start) - (isEarly ? impulse.size : 0);
    std::complex<double> sum = 0;
    for (std::uint32_t k = 0; k < transform.width; ++k)
        sum += std::polar(double{impulse[(transform.start + k) % impulse.size]},
                          -2 * std::numbers::pi * frequency * (begin + k) / transform.sampleRate);
    return sum;
}

struct Case {
    double rate;  // the new one, in Hz
    std::uint32_t start, width;
    double shift = 0;  // of the begin by rounding, in samples of the new rate
};

class Resample : public testing::TestWithParam<Case> {};

TEST_P(Resample, OfATransform_KeepsMagnitudeAndDelayBelowTheTransition) {
    const auto [rate, start, width, shift] = GetParam();
    const double transition = 0.025 * rate;
    const Transform old = Noise(start, width);
    Transform fresh = old;
    orb3::strans::resample(fresh, rate, transition);
    EXPECT_EQ(fresh.impulses[0].size, std::ceil(length * rate / 48000));
    for (double frequency = 0; frequency < std::min(rate, 48000.0) / 2 - 1.8 * transition; frequency += 437)
        for (const std::uint32_t element : {0u, 1u}) {
            const auto kept = ResponseAt(old, element, frequency) *
                              std::polar(1.0, -2 * std::numbers::pi * frequency * shift / rate);
            // Responses of 10 to 25, by a low-pass with a ripple of -74 dB.
            ASSERT_LT(std::abs(ResponseAt(fresh, element, frequency) - kept), 5e-3) << frequency << " Hz";
        }
}

constexpr Case cases[] = {
    {.rate = 44100, .start = 1024 - 20, .width = 512, .shift = 0.375},
    {.rate = 44100, .start = 160, .width = 512},
    {.rate = 88200, .start = 1024 - 200, .width = 824, .shift = -0.5},
    {.rate = 192000, .start = 1024 - 77, .width = 512},
    {.rate = 48000, .start = 1024 - 77, .width = 512},
    {.rate = 44099, .start = 0, .width = 512},
};
INSTANTIATE_TEST_SUITE_P(Rates, Resample, testing::ValuesIn(cases));

TEST(Resample, OverATransitionThatLeavesNothing_Throws) {
    Transform transform = Noise(0, 512);
    EXPECT_THROW(orb3::strans::resample(transform, 44100, 22050), slib::BadStateException);
}

}  // namespace
