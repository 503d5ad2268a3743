#pragma once

// Where on the sphere a head was measured, and what to think of the places where it was not. Part of the
// preparation of measured heads; pure functions, any thread.

#include <vector>

#include "library/sphericalbasis.h"

namespace design {

/// The share of the sphere, summing to 1, that is nearer to each direction than to any other; exact to about
/// 1 / 20000.
Eigen::VectorXd NearestAreas(const std::vector<Direction>& directions);

/// Index of the one of `directions` nearest to `point`, and the angle between the two in radians.
struct Neighbour {
    Eigen::Index index;
    double angle;
};
Neighbour NearestOf(const std::vector<Direction>& directions, const Direction& point);

/// Evenly spread directions, about 8 degrees apart, that have no measured one within 9 degrees.
std::vector<Direction> DirectionsOfGaps(const std::vector<Direction>& measured);

/// The map from values at the first `measured` of `directions` to smooth values at the others: spherical
/// harmonics of degree 8, fitted with the given areas and held back as stiffly as the square of l (l + 1).
Eigen::MatrixXd Continuation(const std::vector<Direction>& directions, Eigen::Index measured,
                             const Eigen::VectorXd& areas);

}  // namespace design
