#include "library/fieldbasis.h"

#include <Eigen/LU>
#include <cmath>
#include <limits>
#include <numbers>

#include "numeric/ambisonicorder.h"
#include "numeric/realsphericalharmonic.h"

namespace design {
namespace {

using Eigen::Index;
using std::numbers::pi;

// Functions 1, then cosine and sine for each degree.
Eigen::MatrixXd CircularValues(const std::vector<Direction>& directions, unsigned order) {
    Eigen::MatrixXd values(static_cast<Index>(directions.size()), 2 * Index{order} + 1);
    for (Index d = 0; d < values.rows(); ++d) {
        const double azimuth = AzimuthOf(directions[static_cast<std::size_t>(d)]);
        values(d, 0) = 1;
        for (Index m = 1; m <= Index{order}; ++m) {
            const double angle = static_cast<double>(m) * azimuth;
            values(d, 2 * m - 1) = std::numbers::sqrt2 * std::cos(angle);
            values(d, 2 * m) = std::numbers::sqrt2 * std::sin(angle);
        }
    }
    return values;
}

// Weights of the zonal channels whose plane waves sum to z to the power 2 * `power`: one column a power, from
// 0.
Eigen::MatrixXd ZonalWeights(unsigned order) {
    const Index count = order / 2 + 1;
    std::vector<Direction> directions;
    for (Index i = 0; i < count; ++i)
        directions.push_back(DirectionAt(0, static_cast<double>(i) * pi / 2 / static_cast<double>(count)));
    const Eigen::MatrixXd waves = PlaneWaveMatrix(directions, order);
    Eigen::MatrixXd zonal(count, count), powers(count, count);
    for (Index i = 0; i < count; ++i) {
        const Index degree = 2 * i;
        zonal.col(i) = waves.col(degree * degree + degree);
        for (Index d = 0; d < count; ++d)
            powers(d, i) =
                std::pow(directions[static_cast<std::size_t>(d)].z(), 2.0 * static_cast<double>(i));
    }
    return zonal.inverse() * powers;
}

// Mean energy over rows of directions around the horizon, one value a height.
Eigen::VectorXd EnergyOverElevation(const Eigen::MatrixXd& fsa, unsigned order) {
    const int heights = 18, around = 24;
    Eigen::VectorXd energies(heights + 1);
    for (int i = 0; i <= heights; ++i) {
        std::vector<Direction> ring;
        ring.reserve(around);
        for (int k = 0; k < around; ++k)
            ring.push_back(DirectionAt(2 * pi * k / around, pi / 2 * i / heights));
        energies[i] = (PlaneWaveMatrix(ring, order) * fsa.transpose()).squaredNorm() / around;
    }
    return energies;
}

}  // namespace

double MaxEnergyLength(unsigned order, bool isFlat) {
    if (isFlat) return std::cos(pi / (2.0 * order + 2));
    return GaussRings(2 * order).directions.front().z();
}

FieldBasis::FieldBasis(unsigned order, bool isFlat) : order(order), isFlat(isFlat) {
    const unsigned count = isFlat ? 2 * order + 1 : hcml::ChannelsOfOrder(order);
    for (unsigned i = 0; i < count; ++i)
        degrees.push_back(isFlat ? (i + 1) / 2 : DegreeOf(i));
}

Eigen::MatrixXd FieldBasis::Values(const std::vector<Direction>& directions) const {
    if (isFlat) return CircularValues(directions, order);
    return std::sqrt(4 * pi) * FsaMatrix(directions, order);
}

Eigen::VectorXd FieldBasis::MaxEnergyWeights() const {
    const double length = MaxEnergyLength(order, isFlat);
    Eigen::VectorXd weights(static_cast<Index>(degrees.size()));
    for (Index i = 0; i < weights.size(); ++i) {
        const unsigned degree = degrees[static_cast<std::size_t>(i)];
        weights[i] = isFlat ? std::cos(degree * pi / (2.0 * order + 2))
                            : hcml::AssociatedLegendre(static_cast<int>(degree), 0, length);
    }
    return weights;
}

Quadrature FieldBasis::DesignPoints() const {
    return isFlat ? HorizonPoints(120) : GaussRings(4 * order + 4);
}

Eigen::MatrixXd FieldBasis::ToFsa(const Eigen::MatrixXd& decoder, bool keepsLevel, bool roughly) const {
    if (!isFlat) return decoder / std::sqrt(4 * pi);
    Eigen::MatrixXd fsa = SectoralToFsa(decoder);
    if (keepsLevel && order >= 2) KeepLevel(fsa, roughly);
    return fsa;
}

Eigen::MatrixXd FieldBasis::SectoralToFsa(const Eigen::MatrixXd& decoder) const {
    Eigen::MatrixXd fsa = Eigen::MatrixXd::Zero(decoder.rows(), hcml::ChannelsOfOrder(order));
    for (Index i = 0; i < decoder.cols(); ++i) {
        const Index degree = degrees[static_cast<std::size_t>(i)];
        const bool isSine = i > 0 && i % 2 == 0;
        const Index channel = degree * degree + (isSine ? 0 : 2 * degree);
        // Where the function has its peak.
        const double azimuth = isSine ? pi / 2 / static_cast<double>(degree) : 0;
        const std::vector<Direction> peak{DirectionAt(azimuth, 0)};
        fsa.col(channel) = decoder.col(i) * (Values(peak)(0, i) / PlaneWaveMatrix(peak, order)(0, channel));
    }
    return fsa;
}

// Adds z^2, and z^4 where the order has it, times the signals that are missing overhead; how much of each is
// searched for, so that the energy keeps level on the way up.
void FieldBasis::KeepLevel(Eigen::MatrixXd& fsa, bool roughly) const {
    const Eigen::MatrixXd zonal = ZonalWeights(order);
    const double wanted = EnergyOverElevation(fsa, order)[0];
    const Eigen::VectorXd overhead =
        Eigen::VectorXd::Constant(fsa.rows(), std::sqrt(wanted / static_cast<double>(fsa.rows())));
    const Eigen::VectorXd missing =
        overhead - fsa * PlaneWaveMatrix({Direction::UnitZ()}, order).row(0).transpose();
    Eigen::MatrixXd best;
    double bestDeviation = std::numeric_limits<double>::infinity();
    for (int trial = 0; trial <= (zonal.cols() > 2 && !roughly ? 60 : 0); ++trial) {
        const double quartic = -0.05 * trial;
        Eigen::MatrixXd candidate = fsa;
        for (Index i = 0; i < zonal.rows(); ++i) {
            const double weight =
                zonal(i, 1) * (1 - quartic) + (zonal.cols() > 2 ? zonal(i, 2) * quartic : 0.0);
            candidate.col(4 * i * i + 2 * i) += missing * weight;
        }
        const double deviation =
            (EnergyOverElevation(candidate, order).array() / wanted).log().abs().maxCoeff();
        if (deviation >= bestDeviation) continue;
        best = candidate;
        bestDeviation = deviation;
    }
    fsa = best;
}

}  // namespace design
