#include "library/headcoverage.h"

#include <Eigen/Dense>
#include <cmath>
#include <numbers>

namespace design {
namespace {

using Eigen::Index;

constexpr unsigned areaSamples = 20000;
constexpr unsigned evenDirections = 600;
constexpr double gapRadians = 9 * std::numbers::pi / 180;
constexpr unsigned continuationOrder = 8;
constexpr double stiffness = 1e-5;

Eigen::Map<const Eigen::Matrix3Xd> AsColumns(const std::vector<Direction>& directions) {
    static_assert(sizeof(Direction) == 3 * sizeof(double));
    return {directions.front().data(), 3, static_cast<Index>(directions.size())};
}

}  // namespace

Eigen::VectorXd NearestAreas(const std::vector<Direction>& directions) {
    Eigen::VectorXd areas = Eigen::VectorXd::Zero(static_cast<Index>(directions.size()));
    for (const Direction& sample : SpiralPoints(areaSamples).directions) {
        areas[NearestOf(directions, sample).index] += 1.0 / areaSamples;
    }
    return areas;
}

Neighbour NearestOf(const std::vector<Direction>& directions, const Direction& point) {
    Neighbour neighbour{};
    (point.transpose() * AsColumns(directions)).maxCoeff(&neighbour.index);
    neighbour.angle = AngleBetween(directions[static_cast<std::size_t>(neighbour.index)], point);
    return neighbour;
}

std::vector<Direction> DirectionsOfGaps(const std::vector<Direction>& measured) {
    std::vector<Direction> gaps;
    for (const Direction& direction : SpiralPoints(evenDirections).directions) {
        if (NearestOf(measured, direction).angle > gapRadians) gaps.push_back(direction);
    }
    return gaps;
}

Eigen::MatrixXd Continuation(const std::vector<Direction>& directions, Index measured,
                             const Eigen::VectorXd& areas) {
    const Eigen::MatrixXd basis = FsaMatrix(directions, continuationOrder);
    const Eigen::MatrixXd weighted = basis.topRows(measured).transpose() * areas.head(measured).asDiagonal();
    Eigen::MatrixXd gram = weighted * basis.topRows(measured);
    for (Index channel = 0; channel < gram.rows(); ++channel) {
        const double degree = DegreeOf(static_cast<unsigned>(channel));
        gram(channel, channel) += stiffness * std::pow(degree * (degree + 1), 2);
    }
    return basis.bottomRows(basis.rows() - measured) * gram.ldlt().solve(weighted);
}

}  // namespace design
