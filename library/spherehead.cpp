#include "library/spherehead.h"

#include <cmath>
#include <complex>
#include <numbers>

#include "library/diffusefield.h"

namespace design {
namespace {

using Complex = std::complex<double>;

constexpr double seriesFloor = 1e-13;  // terms below, against the greatest, no longer count
constexpr unsigned directionsOfDesign = 720;

// The factors of the Legendre polynomials in the series at one frequency; `size` is the wave number times
// the radius, above 0.
Eigen::VectorXcd SeriesFactors(double size, Eigen::Index terms) {
    Eigen::VectorXcd factors = Eigen::VectorXcd::Zero(terms);
    Complex previous = std::polar(1.0, size) / size;  // the Hankel function of degree -1
    Complex hankel = previous * Complex(0, -1);
    Complex turn(0, 1 / (size * size));
    double greatest = 0;
    for (Eigen::Index degree = 0; degree < terms; ++degree) {
        const auto l = static_cast<double>(degree);
        const Complex slope = previous - (l + 1) / size * hankel;
        factors[degree] = turn * (2 * l + 1) / slope;
        greatest = std::max(greatest, std::abs(factors[degree]));
        if (std::abs(factors[degree]) < seriesFloor * greatest) break;
        const Complex next = (2 * l + 1) / size * hankel - previous;
        previous = hankel;
        hankel = next;
        turn *= Complex(0, -1);
    }
    return factors.conjugate();  // the series above has time as exp(-i omega t)
}

// Polynomials of degree 0 and up at each of `cosines`; one row each.
Eigen::MatrixXd LegendreTable(const Eigen::VectorXd& cosines, Eigen::Index terms) {
    Eigen::MatrixXd table(cosines.size(), std::max<Eigen::Index>(terms, 2));
    table.col(0).setOnes();
    table.col(1) = cosines;
    for (Eigen::Index degree = 2; degree < terms; ++degree) {
        const auto l = static_cast<double>(degree);
        table.col(degree) = ((2 * l - 1) * cosines.array() * table.col(degree - 1).array() -
                             (l - 1) * table.col(degree - 2).array()) /
                            l;
    }
    return table.leftCols(terms);
}

Eigen::VectorXd EarCosines(const SphereHead& head, int ear, const std::vector<Direction>& directions) {
    const double azimuth = ear == LeftEar ? head.earAzimuth : -head.earAzimuth;
    const Direction axis(std::cos(azimuth), std::sin(azimuth), 0);
    Eigen::VectorXd cosines(static_cast<Eigen::Index>(directions.size()));
    for (std::size_t i = 0; i < directions.size(); ++i) {
        cosines[static_cast<Eigen::Index>(i)] = axis.dot(directions[i]);
    }
    return cosines;
}

}  // namespace

Eigen::MatrixXcd SphereSurfacePressure(double radius, const Eigen::VectorXd& cosines,
                                       const Eigen::VectorXd& frequencies) {
    const double scale = 2 * std::numbers::pi * radius / headSpeedOfSound;
    const double largest = scale * frequencies.maxCoeff();
    const auto terms = static_cast<Eigen::Index>(largest + 8 * std::cbrt(largest)) + 16;
    Eigen::MatrixXcd factors(terms, frequencies.size());
    for (Eigen::Index k = 0; k < frequencies.size(); ++k) {
        const double size = scale * frequencies[k];
        if (size > 1e-6)
            factors.col(k) = SeriesFactors(size, terms);
        else
            factors.col(k) = Eigen::VectorXcd::Unit(terms, 0);
    }
    const Eigen::MatrixXd table = LegendreTable(cosines, terms);
    Eigen::MatrixXcd pressure(cosines.size(), frequencies.size());
    pressure.real() = table * factors.real();
    pressure.imag() = table * factors.imag();
    return pressure;
}

HeadSpectra MakeSphereSpectra(const SphereHead& head, const std::vector<Direction>& directions,
                              double sampleRate, Eigen::Index bins) {
    HeadSpectra spectra;
    spectra.name = "Rigid sphere";
    spectra.sampleRate = sampleRate;
    spectra.directions = directions;
    spectra.measured = static_cast<Eigen::Index>(directions.size());
    spectra.areas = Eigen::VectorXd::Constant(spectra.measured, 1 / static_cast<double>(spectra.measured));
    spectra.symmetric = true;
    const Eigen::VectorXd frequencies = Eigen::VectorXd::LinSpaced(bins, 0, sampleRate / 2);
    for (int ear : {LeftEar, RightEar}) {
        spectra.ears[static_cast<std::size_t>(ear)] =
            SphereSurfacePressure(head.radius, EarCosines(head, ear, directions), frequencies);
    }
    return spectra;
}

HeadSpectra PrepareSphereHead(const SphereHead& head, double sampleRate) {
    HeadSpectra spectra = MakeSphereSpectra(head, SpiralPoints(directionsOfDesign).directions, sampleRate,
                                            headTransformLength / 2 + 1);
    EqualiseDiffuseField(spectra, sampleRate / 2);
    return spectra;
}

}  // namespace design
