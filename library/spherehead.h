#pragma once

// A head that needs no measurement: a rigid sphere with two points for ears, no pinnae, no torso. It is a
// head of its own, and carries measured heads across directions and frequencies that were not measured.

#include <numbers>
#include <vector>

#include "library/headdata.h"

namespace design {

constexpr double headSpeedOfSound = 346.4;  ///< metres a second, as the rest of the system has it

struct SphereHead {
    double radius = 0.0875;                            ///< metres
    double earAzimuth = 100 * std::numbers::pi / 180;  ///< radians from ahead, the same to both sides
};

/// Pressure at a point of the surface of a rigid sphere of `radius` metres, over the pressure that the same
/// plane wave has at the sphere's centre without it: one row for each of `cosines`, of the angle between the
/// point and the wave's origin, and one column for each of `frequencies` (Hz, from 0). Time runs as
/// exp(+i omega t). The series of Rabinowitz, Maxwell, Shao & Wei 1993; Duda & Martens 1998.
Eigen::MatrixXcd SphereSurfacePressure(double radius, const Eigen::VectorXd& cosines,
                                       const Eigen::VectorXd& frequencies);

/// Spectra of both ears over `directions`, of `bins` bins from 0 Hz to half of `sampleRate` (Hz), not
/// equalised. `areas` are left equal: give directions that are spread evenly, or set them.
HeadSpectra MakeSphereSpectra(const SphereHead& head, const std::vector<Direction>& directions,
                              double sampleRate, Eigen::Index bins);

/// A sphere head ready for the design of decoders: evenly spread directions, diffuse-field equalised.
HeadSpectra PrepareSphereHead(const SphereHead& head, double sampleRate);

}  // namespace design
