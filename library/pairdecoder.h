#pragma once

// Decoders for two speakers, which can only tell left from right. Called by the speaker designer; pure
// functions, the same result every time.

#include <Eigen/Core>

#include "library/sphericalbasis.h"

namespace design {

/// Gains of a speaker pair for the harmonics of FieldBasis(order, false): 2 by (order + 1)², at every
/// frequency alike. They depend on nothing but the sine of the lateral angle, from the plane between the
/// speakers to the side, so that a source behind sounds where its mirror image ahead does and as loud. The
/// position follows the law of tangents (Bernfeld 1973) up to the speaker as far as the order allows, moves
/// on to the side without turning back, and the energy stays level.
///
/// `left` and `right` are unit vectors, not the same nor opposite ones.
Eigen::MatrixXd DesignPairDecoder(const Direction& left, const Direction& right, unsigned order);

}  // namespace design
