#include "orb3core/acoustics/ambix.h"

#include <cmath>
#include <cstdint>
#include <numbers>

#include "numeric/ambisonicorder.h"
#include "numeric/matrixoperations.h"
#include "orb3core/acoustics/busbasis.h"

namespace orb3 {

// The harmonics of the bus's matrix are those of FSAScheme: numbered as in ACN, orthonormal, and with the
// Condon-Shortley sign, which AmbiX hasn't.
hcml::GenericMatrix<float, 1> AmbixMatrix(unsigned order) {
    hcml::GenericMatrix<double, 1> basis = BusBasisMatrix();
    const std::uint32_t channels = hcml::ChannelsOfOrder(order);
    basis.resizePreserving(channels, channels, 0);
    const hcml::GenericMatrix<double, 1> harmonics = hcml::inverse(basis, 1e-5);
    hcml::GenericMatrix<float, 1> matrix(channels, channels);
    for (std::uint32_t l = 0, c = 0; l <= order; ++l)
        for (std::uint32_t i = 0; i <= 2 * l; ++i, ++c) {
            const double sign = (i + l) % 2 == 0 ? 1 : -1;  // m is i - l
            const double factor = sign * std::sqrt(4 * std::numbers::pi / (2 * l + 1));
            for (std::uint32_t b = 0; b < channels; ++b)
                matrix(c, b) = static_cast<float>(factor * harmonics(c, b));
        }
    return matrix;
}

}  // namespace orb3
