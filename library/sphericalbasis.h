#pragma once

// Directions, spherical harmonics in them, and point sets over the sphere. Every designer and every check of
// the format library is based on this. Free functions without state; usable from any thread.

#include <Eigen/Core>
#include <vector>

namespace design {

/// A unit vector to a source: x ahead, y to the left, z up.
using Direction = Eigen::Vector3d;

/// Radians; `azimuth` from ahead to the left, `elevation` up.
Direction DirectionAt(double azimuth, double elevation);

/// Radians, -pi to pi.
double AzimuthOf(const Direction& direction);

/// The angle between two unit vectors in radians, exact for small ones as well.
double AngleBetween(const Direction& a, const Direction& b);

/// The degree of the channel's harmonic.
unsigned DegreeOf(unsigned channel);

/// The orthonormal real harmonics Y of the spatial format's channels: directions by (order + 1)².
Eigen::MatrixXd FsaMatrix(const std::vector<Direction>& directions, unsigned order);

/// The channel values of plane waves of amplitude 1, 4 pi Y: directions by (order + 1)².
Eigen::MatrixXd PlaneWaveMatrix(const std::vector<Direction>& directions, unsigned order);

/// Directions that represent shares of the sphere, or of the horizon; the weights sum to 1.
struct Quadrature {
    std::vector<Direction> directions;
    Eigen::VectorXd weights;
};

/// `count` directions at equal steps along the horizon, from straight ahead.
Quadrature HorizonPoints(unsigned count);

/// Gauss-Legendre rings of equal azimuth steps: averages every polynomial up to `degree`, 1 and up, exactly.
/// Mirror-symmetric about all three axes' planes.
Quadrature GaussRings(unsigned degree);

/// `count` nearly uniform points of equal weight along a spiral (Swinbank and Purser 2006).
Quadrature SpiralPoints(unsigned count);

}  // namespace design
