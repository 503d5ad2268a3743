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
// bus as the polynomials of either precision, behind which nothing is written.
TEST(ConvertTransformToBusBasis, PlaneWavesFromAnywhere_DecodeAsBefore) {
    const orb3::FSAScheme library(4);
    for (const unsigned order : {0u, 1u, 2u, 3u, 4u}) {
        const std::uint32_t inputs = (order + 1) * (order + 1);
        auto transform = Through(inputs);
        orb3::convertTransformToBusBasis(transform);
        for (double azimuth = -4, z = -0.97; z < 1; azimuth += 0.83, z += 0.09) {
            const double c = std::sqrt(1 - z * z);
            const double x = c * std::cos(azimuth), y = c * std::sin(azimuth);
            float bus[26], single[26];
            bus[inputs] = single[inputs] = 9;
            hcml::directionPolynomials(x, y, z, order, bus);
            hcml::directionPolynomials(float(x), float(y), float(z), order, single);
            EXPECT_EQ(bus[inputs] + single[inputs], 18);
            for (std::uint32_t k = 0; k < inputs; ++k) {
                double heard = 0;
                for (std::uint32_t i = 0; i < inputs; ++i)
                    heard += bus[i] * transform.impulses(i, k)[1];
                const double wave = 4 * std::numbers::pi * hcml::evaluate(library.harmonics[k], azimuth, z);
                EXPECT_NEAR(heard, wave, 2e-5) << inputs << " " << k;
                EXPECT_EQ(transform.impulses(0, k)[0], 0);
                EXPECT_NEAR(single[k], bus[k], 1e-6);
            }
        }
    }
    auto tooWide = Through(26);
    EXPECT_THROW(orb3::convertTransformToBusBasis(tooWide), slib::BadDataException);
}

}  // namespace
