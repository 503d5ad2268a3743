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

/// The greatest order up to `order` at which the layout is regular, and at least 1.
unsigned CarriedOrder(const SpeakerRing& speakers, unsigned order);

/// A listener's head, give or take: inside this radius in metres, harmonics up to the order hold below the
/// crossover of the dual-band method, at order * c / (2 pi radius).
inline constexpr double listenerRadius = 0.1;
double CrossoverFrequency(unsigned order, double radius = listenerRadius);

/// Gains up to a common factor: speakers by (order + 1)² channels of the spatial format.
struct DecoderMatrices {
    Eigen::MatrixXd low;   ///< below the crossover
    Eigen::MatrixXd high;  ///< above it; the same for all methods but DualBand
    double crossover = 0;  ///< Hz
};

/// One for each of `methods`. Regular layouts get the closed forms. On others Energy starts from AllRound and
/// fits the energy vectors, Basic is as near to Energy as pressure and velocity at the centre leave it (from
/// the gaps of a layout it aims at the velocity that its speakers can give), and DualBand fits both bands
/// together from there. Energy and DualBand of two speakers are those of a pair.
std::vector<DecoderMatrices> DesignDecoderMatrices(const SpeakerRing& speakers, unsigned order,
                                                   const std::vector<SpeakerMethod>& methods);

/// Gains of one decoder for all frequencies, up to a common factor, in some milliseconds: as those that are
/// designed, but by AllRound where no closed form suits. Speakers by (order + 1)² channels.
Eigen::MatrixXd DesignQuickMatrix(const SpeakerRing& speakers, unsigned order);

}  // namespace design
