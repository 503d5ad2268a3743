#pragma once

// A head, as the designer of binaural filters passes it from step to step: responses of both ears over
// directions, first as impulses at the rate of the measurement, then as spectra at the rate of the design.
// Plain records, owned by their makers.

#include <Eigen/Core>
#include <array>
#include <string>
#include <vector>

#include "library/sphericalbasis.h"

namespace design {

/// Points of the discrete Fourier transforms of all head spectra.
constexpr Eigen::Index headTransformLength = 1024;

enum Ear { LeftEar, RightEar };

/// Impulse responses as measured: all start at one moment, which need not be known.
struct HeadImpulses {
    std::string name;
    std::string credit;  ///< a sentence that names whose measurement it is, as its licence asks; may be empty
    double sampleRate = 0;  ///< Hz
    std::vector<Direction> directions;
    std::array<Eigen::MatrixXd, 2> ears;    ///< taps by directions
    std::array<Eigen::VectorXd, 2> delays;  ///< seconds to add before each response, 0 or more
};

/// Half spectra of both ears. Time zero is the passing of the wave at the head's centre.
struct HeadSpectra {
    std::string name;
    double sampleRate = 0;  ///< Hz
    std::vector<Direction> directions;
    Eigen::Index measured = 0;             ///< directions from here on are extrapolated
    Eigen::VectorXd areas;                 ///< share of the sphere that each direction represents; sum 1
    std::array<Eigen::MatrixXcd, 2> ears;  ///< directions by bins
    bool symmetric = false;                ///< the right ear is the mirror image of the left

    Eigen::Index Bins() const { return ears[LeftEar].cols(); }

    /// Hz between two bins.
    double BinWidth() const { return sampleRate / 2 / static_cast<double>(Bins() - 1); }
};

}  // namespace design
