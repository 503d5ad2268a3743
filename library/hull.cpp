#include "library/hull.h"

#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>
#include <optional>

namespace design {
namespace {

constexpr double onPlane = 1e-7;

// Sorts the corners by their angle around the normal.
void SortAround(const std::vector<Direction>& points, Facet& facet) {
    const Direction origin = points[facet.corners.front()];
    Direction centre = Direction::Zero();
    for (std::size_t corner : facet.corners)
        centre += points[corner] / static_cast<double>(facet.corners.size());
    const Direction along = (origin - centre).normalized(), across = facet.normal.cross(along);
    std::ranges::sort(facet.corners, {}, [&](std::size_t corner) {
        const Direction arm = points[corner] - centre;
        return std::atan2(arm.dot(across), arm.dot(along));
    });
}

// The facet on the plane of three points, if all others lie on its inner side.
std::optional<Facet> FacetThrough(const std::vector<Direction>& points, std::size_t a, std::size_t b,
                                  std::size_t c) {
    const Direction product = (points[b] - points[a]).cross(points[c] - points[a]);
    if (product.norm() < onPlane) return {};
    Facet facet{product.normalized(), 0, {}};
    bool hasAbove = false, hasBelow = false;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const double height = facet.normal.dot(points[i] - points[a]);
        if (std::abs(height) < onPlane) facet.corners.push_back(i);
        hasAbove |= height >= onPlane;
        hasBelow |= height <= -onPlane;
    }
    if (hasAbove == hasBelow) return {};
    if (hasAbove) facet.normal = -facet.normal;
    facet.distance = facet.normal.dot(points[a]);
    return facet;
}

}  // namespace

std::vector<Facet> ConvexHull(const std::vector<Direction>& points) {
    std::vector<Facet> facets;
    for (std::size_t a = 0; a < points.size(); ++a)
        for (std::size_t b = a + 1; b < points.size(); ++b)
            for (std::size_t c = b + 1; c < points.size(); ++c) {
                std::optional<Facet> facet = FacetThrough(points, a, b, c);
                // A face of more corners is met once for each triplet of them; the lowest one represents it.
                if (!facet || facet->corners[0] != a || facet->corners[1] != b || facet->corners[2] != c)
                    continue;
                SortAround(points, *facet);
                facets.push_back(std::move(*facet));
            }
    return facets;
}

}  // namespace design
