#pragma once

// The convex hull of points on the sphere. Used by the panner.

#include <Eigen/Core>
#include <vector>

#include "library/sphericalbasis.h"

namespace design {

/// One face of the hull: all points that lie on its plane, in order around it.
struct Facet {
    Direction normal;                  ///< outward
    double distance = 0;               ///< from the centre; not above 0 when the hull leaves the centre out
    std::vector<std::size_t> corners;  ///< three or more
};

/// The facets of the hull of `points`, unit vectors; none when all of them lie on one plane. Tries every
/// triplet against all others, which is quick for the hundred points of a large layout.
std::vector<Facet> ConvexHull(const std::vector<Direction>& points);

}  // namespace design
