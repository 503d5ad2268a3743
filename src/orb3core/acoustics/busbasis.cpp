#include "orb3core/acoustics/busbasis.h"

#include <cmath>
#include <cstdint>
#include <numbers>
#include <string>
#include <utility>

#include "numeric/ambisonicorder.h"
#include "numeric/matrixoperations.h"
#include "slib/exception.h"

namespace orb3 {
namespace {

using Impulse = hcml::GenericVector<float, 1>;

constexpr std::uint32_t channels = hcml::mostBusChannels;

// One weight of the matrix, given as its square with its own sign.
struct Weight {
    std::uint32_t polynomial, harmonic;
    double signedSquare;
};

constexpr Weight weights[] = {
    {0, 0, 12.566370614359172},     {1, 3, -4.1887902047863905},    {2, 1, -4.1887902047863905},
    {3, 2, 4.1887902047863905},     {4, 4, 0.8377580409572781},     {5, 8, 3.3510321638291125},
    {6, 7, -0.8377580409572781},    {7, 5, -0.8377580409572781},    {8, 0, 1.3962634015954636},
    {8, 6, 1.117010721276371},      {9, 15, -2.8723132832820966},   {10, 9, -2.8723132832820966},
    {11, 10, 0.11967972013675403},  {12, 14, 0.4787188805470161},   {13, 3, -0.16755160819145562},
    {13, 13, -0.19148755221880645}, {14, 1, -0.16755160819145562},  {14, 11, -0.19148755221880645},
    {15, 2, 1.5079644737231006},    {15, 12, 0.28723132832820963},  {16, 16, 0.15957296018233869},
    {17, 24, 2.553167362917419},    {18, 23, -0.31914592036467737}, {19, 17, -0.31914592036467737},
    {20, 4, 0.017097102876679145},  {20, 18, 0.02279613716890553},  {21, 8, 0.06838841150671658},
    {21, 22, 0.09118454867562212},  {22, 7, -0.1538739258901123},   {22, 21, -0.04559227433781106},
    {23, 5, -0.1538739258901123},   {23, 19, -0.04559227433781106}, {24, 0, 0.5026548245743669},
    {24, 6, 0.820660938080599},     {24, 20, 0.07294763894049769}};

// With Y the values of the harmonics in a direction and p those of the polynomials, p = M Y, a plane wave
// enters the library's channels as 4pi Y = 4pi M⁻¹ p. So the responses of the bus inputs are those of the
// library's times the transpose of 4pi M⁻¹.
hcml::GenericMatrix<double, 1> ConversionMatrix(std::uint32_t inputs) {
    hcml::GenericMatrix<double, 1> matrix = hcml::inverse(hcml::transpose(BusBasisMatrix()), 1e-5);
    hcml::scale(matrix, 4 * std::numbers::pi);
    matrix.resizePreserving(inputs, inputs, 0);
    return matrix;
}

// target += gain * source, both of one length.
void AddScaled(Impulse& target, const Impulse& source, float gain) {
    float* to = target.data;
    const float* from = source.data;
    for (std::uint32_t n = 0; n < target.size; ++n)
        to[n] += gain * from[n];
}

void CheckInputs(const strans::TimeDomainTransform<float, 1>& transform) {
    transform.validate();
    if (transform.impulses.rows > channels)
        throw slib::BadDataException("The transform has " + std::to_string(transform.impulses.rows) +
                                     " inputs, but the spatial bus has " + std::to_string(channels) +
                                     " channels at most.");
}

}  // namespace

hcml::GenericMatrix<double, 1> BusBasisMatrix() {
    hcml::GenericMatrix<double, 1> matrix(channels, channels);
    matrix.fill(0);
    for (const auto& [polynomial, harmonic, square] : weights)
        matrix(polynomial, harmonic) = std::copysign(std::sqrt(std::abs(square)), square);
    return matrix;
}

void convertTransformToBusBasis(strans::TimeDomainTransform<float, 1>& transform) {
    CheckInputs(transform);
    const auto& old = transform.impulses;
    const hcml::GenericMatrix<double, 1> conversion = ConversionMatrix(old.rows);
    hcml::GenericMatrix<Impulse, 0> converted(old.rows, old.columns);
    for (std::uint32_t i = 0; i < old.rows; ++i) {
        for (std::uint32_t k = 0; k < old.columns; ++k) {
            Impulse& response = converted(i, k);
            response.resize(transform.Length());
            response.fill(0);
            for (std::uint32_t j = 0; j < old.rows; ++j) {
                const auto gain = static_cast<float>(conversion(i, j));
                if (std::abs(gain) > 0.0001f) AddScaled(response, old(j, k), gain);
            }
        }
    }
    transform.impulses = std::move(converted);
}

}  // namespace orb3
