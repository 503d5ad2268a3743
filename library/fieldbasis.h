#pragma once

// The harmonics that a decoder for speakers is designed on: circular ones for flat layouts, spherical ones
// for the others, both scaled to a mean square of 1 over their directions, and the way from there to the
// channels of the spatial format. Used by the speaker designer and its checks; free of state once made.

#include <Eigen/Core>
#include <vector>

#include "library/sphericalbasis.h"

namespace design {

/// The greatest energy-vector length that harmonics up to the order allow for every direction alike:
/// cos(pi / (2 order + 2)) on the horizon, the greatest root of the Legendre polynomial of degree order + 1
/// on the sphere (Daniel 2000; Zotter and Frank 2012).
double MaxEnergyLength(unsigned order, bool isFlat);

class FieldBasis {
public:
    FieldBasis(unsigned order, bool isFlat);

    const unsigned order;
    const bool isFlat;
    std::vector<unsigned> degrees;  ///< one a function

    /// Directions by functions. The circular ones take the azimuth alone.
    Eigen::MatrixXd Values(const std::vector<Direction>& directions) const;

    /// The weights of the functions that reach MaxEnergyLength.
    Eigen::VectorXd MaxEnergyWeights() const;

    /// Where the design is made and judged: all around, or all over the sphere.
    Quadrature DesignPoints() const;

    /// Takes a decoder for this basis, speakers by functions, to the spatial format, speakers by channels.
    ///
    /// A flat decoder's terms fade with the cosine of the elevation to their powers, so that a source
    /// overhead comes from all around. With `keepsLevel` and from order 2 on, what the fading loses of the
    /// energy is made up for by even signals to all speakers, for order 4 `roughly` where that takes too
    /// long; without, the sum of amplitudes is that of a source on the horizon.
    Eigen::MatrixXd ToFsa(const Eigen::MatrixXd& decoder, bool keepsLevel, bool roughly = false) const;

private:
    Eigen::MatrixXd SectoralToFsa(const Eigen::MatrixXd& decoder) const;
    void KeepLevel(Eigen::MatrixXd& fsa, bool roughly) const;
};

}  // namespace design
