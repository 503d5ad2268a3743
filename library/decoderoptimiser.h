#pragma once

// Fits a decoder to a layout that no closed form suits. Called by the speaker designer; no state, and the
// same result every time.

#include <Eigen/Core>

#include "library/fieldbasis.h"
#include "library/panning.h"

namespace design {

/// Moves the decoder `start`, speakers by functions of `basis`, towards the same energy for every direction,
/// energy vectors (Gerzon 1992) that point at the source and are as long as the order allows. Directions
/// ahead count most, and in the gaps of the layout the energy vector of `panner` is the aim. By Levenberg and
/// Marquardt's method, with derivatives in closed form; the idea of fitting these vectors is that of Moore
/// and Wakefield (2007) and Wiggins (2007).
///
/// The energy of gains g is g' coherence g; an empty `coherence` means the unit matrix.
///
/// `speakers` are unit vectors, on the horizon for a flat basis. A decoder above 600 coefficients is
/// returned as it is.
Eigen::MatrixXd OptimiseEnergyVectors(const FieldBasis& basis, const std::vector<Direction>& speakers,
                                      const Panner& panner, const Eigen::MatrixXd& coherence,
                                      const Eigen::MatrixXd& start);

}  // namespace design
