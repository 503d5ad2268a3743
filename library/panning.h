#pragma once

// Pairwise and triplet amplitude panning over the speakers of a layout, with imaginary speakers where a
// layout has gaps. All-round decoders are made of it, and it shows the optimiser which directions a layout
// can reach.

#include <Eigen/Core>
#include <vector>

#include "library/sphericalbasis.h"

namespace design {

/// Gains of unit energy for any direction (vector base amplitude panning: Pulkki 1997). A panner is made once
/// for its speakers and then only read.
///
/// A gap is an angle above 150 degrees between neighbours on a flat layout, or a facet of the others' hull
/// that passes within a third of the centre. Imaginary speakers fill it, and their signals go in equal
/// shares to the speakers beside them (Zotter and Frank 2012), so that no source falls silent.
class Panner {
public:
    /// `speakers` has one unit vector a speaker, no two of them the same. A flat panner uses their azimuths
    /// alone.
    Panner(const std::vector<Direction>& speakers, bool isFlat);

    /// What a direction gets.
    struct Gains {
        Eigen::VectorXd speakers;  ///< linear, the sum of squares is 1
        bool isInGap = false;      ///< An imaginary speaker of a gap takes part.
    };
    Gains operator()(const Direction& direction) const;

private:
    struct Simplex {
        std::vector<std::size_t> corners;  ///< a pair or a triplet of points
        Eigen::Matrix3d toWeights;         ///< from a direction to the weights of the corners
    };

    std::vector<Direction> points;  ///< the speakers, then the imaginary ones
    std::vector<bool> fillsGap;     ///< one a point
    Eigen::MatrixXd shares;         ///< points by speakers: what each speaker takes of a point's signal
    std::vector<Simplex> simplices;
    bool isFlat;

    std::size_t AddImaginary(const Direction& direction, bool isGap);
    void AddSimplex(const std::vector<std::size_t>& corners);
    void BuildRing();
    void BuildHull();
    void ShareImaginarySignals(std::size_t speakers);
};

}  // namespace design
