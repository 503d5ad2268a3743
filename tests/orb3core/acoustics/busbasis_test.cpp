#include "orb3core/acoustics/busbasis.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "numeric/directionpolynomials.h"
#include "orb3core/acoustics/fsascheme.h"
#include "slib/exception.h"

namespace {

// Lets every channel of the library through, a frame late.
orb3::strans::TimeDomainTransform<float, 1> Through(std::uint32_t inputs) {
    orb3::strans::TimeDomainTransform<float, 1> transform{44100, 1, 1, {inputs, inputs}};
    transform.impulses.fill({0, 0});
    for (std::uint32_t i = 0; i < inputs; ++i)
        transform.impulses(i, i)[1] = 1;
    return transform;
}

// A plane wave enters the library's channels as 4pi times the harmonics of its direction, and the renderer's
// bus as the polynomials.
TEST(ConvertTransformToBusBasis, PlaneWavesFromAnywhere_DecodeAsBefore) {
    const orb3::FSAScheme library(4);
    for (const std::uint32_t inputs : {1u, 4u, 9u, 16u, 25u}) {
        auto transform = Through(inputs);
        orb3::convertTransformToBusBasis(transform);
        for (double azimuth = -4, z = -0.97; z < 1; azimuth += 0.83, z += 0.09) {
            const double c = std::sqrt(1 - z * z);
            float bus[25];
            hcml::directionPolynomials(c * std::cos(azimuth), c * std::sin(azimuth), z, 4, bus);
            for (std::uint32_t k = 0; k < inputs; ++k) {
                double heard = 0;
                for (std::uint32_t i = 0; i < inputs; ++i)
                    heard += bus[i] * transform.impulses(i, k)[1];
                const double wave = 4 * std::numbers::pi * hcml::evaluate(library.harmonics[k], azimuth, z);
                EXPECT_NEAR(heard, wave, 2e-5) << inputs << " " << k;
                EXPECT_EQ(transform.impulses(0, k)[0], 0);
            }
        }
    }
    auto tooWide = Through(26);
    EXPECT_THROW(orb3::convertTransformToBusBasis(tooWide), slib::BadDataException);
}

}  // namespace
