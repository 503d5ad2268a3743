#pragma once

// Decoders for speakers as plain matrices of gains, the same at every frequency. Called by the speaker
// designer, which makes filters of them. Free functions without state.

#include <Eigen/Core>
#include <vector>

#include "library/sphericalbasis.h"

namespace design {

enum class SpeakerMethod {
    Basic,     ///< Reproduces pressure and velocity at the centre (mode matching).
    Energy,    ///< Concentrates energy in the source's direction (max-rE).
    DualBand,  ///< Basic below, Energy above a crossover.
    AllRound,  ///< All-round ambisonic panning with imaginary speakers.
};

/// The directions of a decoder's speakers, as unit vectors.
struct SpeakerRing {
    std::vector<Direction> directions;
    bool isFlat = false;
    /// What signals of two speakers share of one output, where a matrix mixes them: the loudness of gains g
    /// is g' coherence g. Empty for speakers of their own.
    Eigen::MatrixXd coherence;
};

/// The harmonics up to `order` are orthogonal over the speakers, so that closed forms hold.
bool IsRegular(const SpeakerRing& speakers, unsigned order);

/// Gains up to a common factor: speakers by (order + 1)² channels of the spatial format.
struct DecoderMatrices {
    Eigen::MatrixXd low;   ///< below the crossover
    Eigen::MatrixXd high;  ///< above it; the same for all methods but DualBand
};

/// Regular layouts get the closed forms. On others Energy starts from AllRound and fits the energy vectors,
/// and Basic is as near to Energy as pressure and velocity at the centre leave it; from the gaps of a layout
/// it aims at the velocity that its speakers can give.
DecoderMatrices DesignDecoderMatrices(const SpeakerRing& speakers, unsigned order, SpeakerMethod method);

}  // namespace design
