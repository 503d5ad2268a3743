#include "library/panning.h"

#include <Eigen/LU>
#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>

#include "library/hull.h"
#include "slib/exception.h"

namespace design {
namespace {

using Eigen::Index;
using std::numbers::pi;

constexpr double widestPair = 150 * pi / 180;
constexpr double imaginaryStep = 120 * pi / 180;
constexpr double nearestFacet = 0.33;
constexpr double axisReach = 65 * pi / 180;

bool IsNear(const std::vector<Direction>& points, const Direction& direction, double angle) {
    return std::ranges::any_of(points,
                               [&](const Direction& p) { return AngleBetween(p, direction) < angle; });
}

}  // namespace

Panner::Panner(const std::vector<Direction>& speakers, bool isFlat)
    : points(speakers), fillsGap(speakers.size(), false), isFlat(isFlat) {
    if (isFlat) {
        for (Direction& point : points)
            point = DirectionAt(AzimuthOf(point), 0);
        BuildRing();
    } else {
        BuildHull();
    }
    ShareImaginarySignals(speakers.size());
}

std::size_t Panner::AddImaginary(const Direction& direction, bool isGap) {
    points.push_back(direction);
    fillsGap.push_back(isGap);
    return points.size() - 1;
}

void Panner::AddSimplex(const std::vector<std::size_t>& corners) {
    Eigen::Matrix3d base;
    base << points[corners[0]], points[corners[1]], isFlat ? Direction::UnitZ() : points[corners.back()];
    simplices.push_back({corners, base.inverse()});
}

// Each gap between neighbours is filled by as few imaginary speakers as leave no step above 120 degrees.
void Panner::BuildRing() {
    std::vector<std::size_t> order(points.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::ranges::sort(order, {}, [this](std::size_t i) { return AzimuthOf(points[i]); });
    for (std::size_t i = 0; i < order.size(); ++i) {
        const bool isLast = i + 1 == order.size();
        const double from = AzimuthOf(points[order[i]]);
        const double gap = AzimuthOf(points[order[isLast ? 0 : i + 1]]) - from + (isLast ? 2 * pi : 0);
        std::size_t last = order[i];
        const int steps = gap > widestPair ? static_cast<int>(std::ceil(gap / imaginaryStep)) : 1;
        for (int step = 1; step < steps; ++step) {
            const std::size_t next = AddImaginary(DirectionAt(from + gap * step / steps, 0), true);
            AddSimplex({last, next});
            last = next;
        }
        AddSimplex({last, order[isLast ? 0 : i + 1]});
    }
}

// Imaginary speakers on far axes make the hull a body around the centre, and more of them push its facets
// out. Faces of more than three corners get one in their middle, so that no diagonal is preferred.
void Panner::BuildHull() {
    for (int axis = 0; axis < 6; ++axis) {
        const Direction direction = (axis < 3 ? 1 : -1) * Direction::Unit(axis % 3);
        if (!IsNear(points, direction, axisReach)) AddImaginary(direction, true);
    }
    std::vector<Facet> facets = ConvexHull(points);
    for (int round = 0; round < 20; ++round) {
        const auto nearest = std::ranges::min_element(facets, {}, &Facet::distance);
        if (nearest == facets.end() || nearest->distance > nearestFacet) break;
        AddImaginary(nearest->normal, true);
        facets = ConvexHull(points);
    }
    for (const Facet& facet : facets) {
        const std::size_t corners = facet.corners.size();
        const std::size_t middle = corners > 3 ? AddImaginary(facet.normal, false) : facet.corners[2];
        for (std::size_t i = 0; i < (corners > 3 ? corners : 1); ++i)
            AddSimplex({facet.corners[i], facet.corners[(i + 1) % corners], middle});
    }
}

// An imaginary speaker that has only imaginary neighbours gets its shares through them.
void Panner::ShareImaginarySignals(std::size_t speakers) {
    const Index count = static_cast<Index>(points.size()), real = static_cast<Index>(speakers);
    Eigen::MatrixXd neighbours = Eigen::MatrixXd::Zero(count, count);
    for (const Simplex& simplex : simplices)
        for (std::size_t a : simplex.corners)
            for (std::size_t b : simplex.corners)
                if (a != b) neighbours(static_cast<Index>(a), static_cast<Index>(b)) = 1;
    shares = Eigen::MatrixXd::Identity(count, real);
    for (Index round = real; round < 2 * count; ++round) {
        const Eigen::MatrixXd next = neighbours.bottomRows(count - real) * shares;
        // Those of what no share has reached yet stay 0.
        for (Index i = 0; i < next.rows(); ++i)
            shares.row(real + i) = next.row(i).normalized();
    }
}

Panner::Gains Panner::operator()(const Direction& direction) const {
    const Direction target = isFlat ? DirectionAt(AzimuthOf(direction), 0) : direction;
    const Simplex* best = nullptr;
    Eigen::Vector3d bestWeights = Eigen::Vector3d::Constant(-2);
    for (const Simplex& simplex : simplices) {
        const Eigen::Vector3d weights = (simplex.toWeights * target).normalized();
        if (weights.minCoeff() <= bestWeights.minCoeff()) continue;
        best = &simplex;
        bestWeights = weights;
    }
    if (best == nullptr) throw slib::BadStateException("There are no speakers to pan between.");
    Gains gains{Eigen::VectorXd::Zero(shares.cols()), false};
    for (std::size_t i = 0; i < best->corners.size(); ++i) {
        const double weight = std::max(0.0, bestWeights[static_cast<Index>(i)]);
        gains.speakers += weight * shares.row(static_cast<Index>(best->corners[i])).transpose();
        gains.isInGap |= weight > 1e-3 && fillsGap[best->corners[i]];
    }
    gains.speakers.normalize();
    return gains;
}

}  // namespace design
