#include "orb3core/acoustics/busbasis.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

#include "numeric/directionpolynomials.h"
#include "orb3core/acoustics/fsascheme.h"
#include "slib/exception.h"

namespace {

std::mt19937 generator(1);

// The channels of a plane wave from anywhere, as the library and as the renderer has them.
struct Wave {
    Wave() {
        const double azimuth = std::uniform_real_distribution(-4.0, 4.0)(generator);
        const double z = std::uniform_real_distribution(-1.0, 1.0)(generator), c = std::sqrt(1 - z * z);
        for (std::uint32_t i = 0; i < 25; ++i)
            fsa[i] = 4 * std::numbers::pi * hcml::evaluate(orb3::FSAScheme(4).harmonics[i], azimuth, z);
        hcml::directionPolynomials(c * std::cos(azimuth), c * std::sin(azimuth), z, 4, bus);
    }
    double fsa[25];
    float bus[25];
};

TEST(BusBasis, TimesTheHarmonics_GivesThePolynomials) {
    for (int trial = 0; trial < 50; ++trial) {
        const Wave wave;
        for (std::uint32_t b = 0; b < 25; ++b) {
            double sum = 0;
            for (std::uint32_t c = 0; c < 25; ++c)
                sum += orb3::BusBasisMatrix()(b, c) * wave.fsa[c] / (4 * std::numbers::pi);
            EXPECT_NEAR(sum, wave.bus[b], 4e-8) << b;
        }
    }
}

// From a transform that lets every channel of the library through, a frame late.
TEST(ConvertTransformToBusBasis, PlaneWaves_DecodeAsBefore) {
    for (const std::uint32_t inputs : {1u, 4u, 9u, 16u, 25u, 26u}) {
        orb3::strans::TimeDomainTransform<float, 1> transform{44100, 1, 1, {inputs, inputs}};
        transform.impulses.fill({0, 0});
        for (std::uint32_t i = 0; i < inputs; ++i)
            transform.impulses(i, i)[1] = 1;
        if (inputs > 25) {
            EXPECT_THROW(orb3::convertTransformToBusBasis(transform), slib::BadDataException);
            break;
        }
        orb3::convertTransformToBusBasis(transform);
        const Wave wave;
        for (std::uint32_t k = 0; k < inputs; ++k) {
            double heard = 0;
            for (std::uint32_t i = 0; i < inputs; ++i)
                heard += wave.bus[i] * transform.impulses(i, k)[1];
            EXPECT_NEAR(heard, wave.fsa[k], 2e-5);
            EXPECT_EQ(transform.impulses(0, k)[0], 0);
        }
    }
}

}  // namespace
