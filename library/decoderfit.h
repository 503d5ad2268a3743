#pragma once

// Fits a decoder to a layout that no closed form suits. Called by the speaker designer; no state, and the
// same result every time.

#include <Eigen/Core>
#include <vector>

#include "library/fieldbasis.h"
#include "library/panning.h"

namespace design {

/// How much each wish counts in one band of frequencies, and which gains it is made of.
struct BandWishes {
    double lowShare = 0;                 ///< of the low band's gains, the rest being the high band's
    double level = 0;                    ///< the same energy for every direction
    double pressure = 0;                 ///< the same sum of amplitudes for every direction
    double velocity = 0;                 ///< velocity vectors that point at the source
    double velocityLength = 0;           ///< and are of length 1
    double energy = 0;                   ///< energy vectors that point at the source
    double energyLength = 0;             ///< and are as long as the order allows
    double ears = 0;                     ///< levels at both ears, and between them
    std::vector<double> earFrequencies;  ///< Hz that these are averaged over
};

/// Gains of two bands, speakers by functions of a FieldBasis.
struct BandDecoders {
    Eigen::MatrixXd low, high;
};

/// What decoders are fitted to.
struct FitProblem {
    const FieldBasis& basis;
    const std::vector<Direction>& speakers;  ///< unit vectors, on the horizon for a flat basis
    const Panner& panner;                    ///< tells the gaps of the layout, and what can be had in them
    Eigen::MatrixXd coherence;  ///< energy of gains g is g' coherence g; empty for the unit matrix
    std::vector<BandWishes> bands;
};

/// Moves the gains of both bands together towards what the bands of the problem want, from `start` on. A band
/// between the two is made of shares of both, so that what lies in the crossover counts as the rest does.
///
/// Velocity and energy vectors are Gerzon's (1992); fitting them to irregular layouts is the idea of Moore
/// and Wakefield (2007) and Wiggins (2007). The ears are those of a rigid sphere (Duda and Martens 1998), as
/// the mean over places within 10 cm of the middle. Directions ahead count most; in the gaps of the layout
/// the panner's vectors are the aim. By Levenberg and Marquardt's method, with derivatives in closed form and
/// its steps by conjugate gradients.
BandDecoders FitBands(const FitProblem& problem, const BandDecoders& start);

}  // namespace design
