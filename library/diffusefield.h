#pragma once

// Diffuse sound at the ears: the mean over all directions of a head's power, its equaliser, and the matching
// of a decoder's diffuse sound to the head's. Pure functions of the head designer.

#include <complex>

#include "library/headdata.h"

namespace design {

/// The minimum-phase spectrum that takes the colour out of a diffuse field of `power` (one value a bin of
/// `binWidth` Hz, from 0 Hz to half the rate): the root of its inverse. The power is smoothed over half an
/// auditory band, and from `highest` Hz on taken as it is there.
Eigen::VectorXcd DiffuseEqualiser(const Eigen::VectorXd& power, double binWidth, double highest);

/// Divides both ears by one minimum-phase spectrum, the root of the power that a diffuse field leaves at an
/// ear, so that such a field sounds without colour (DiffuseEqualiser).
void EqualiseDiffuseField(HeadSpectra& spectra, double highest);

/// Covariance of the ears in a diffuse field, from the ear signals that unit plane waves of equal power from
/// directions of these areas (sum 1) leave.
Eigen::Matrix2cd EarCovariance(const Eigen::VectorXd& areas, const Eigen::VectorXcd& left,
                               const Eigen::VectorXcd& right);

/// The mixing M of least change with M actual M* = target, for Hermitian covariances (Vilkamo, Baeckstroem &
/// Kuntz 2013). A degenerate `actual` is helped by a trace of its power.
Eigen::Matrix2cd CovarianceMatch(const Eigen::Matrix2cd& actual, const Eigen::Matrix2cd& target);

}  // namespace design
