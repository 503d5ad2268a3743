#pragma once

// What a decoder for speakers does at the listener's place, as numbers for tables and plots. Called by the
// program that checks libraries, and by tests; free functions without state.

#include <vector>

#include "library/layouts.h"
#include "orb3core/transform/timedomaintransform.h"

namespace design {

/// Frequencies that figures are averaged over: `points` from `low` to `high`, in Hz, at equal ratios.
struct FrequencyBand {
    double low, high;
    int points;
};

/// Figures for a plane wave from one direction, with gains and travel times to the listener counted in.
struct DirectionFigures {
    Direction direction;     ///< where the wave comes from
    double level;            ///< dB; energy of all speakers against the calibration, 4 pi
    double velocityLength;   ///< 1 for a plane wave; Gerzon's (1992) velocity vector, its real part
    double velocityError;    ///< degrees between that vector and the source
    Direction energyVector;  ///< not of length 1
    double energyLength;     ///< Gerzon's energy vector: 1 for a single speaker
    double energyError;      ///< degrees between that vector and the source
    double loudestSpeaker;   ///< linear gain; a source that plays by one speaker alone gives 1
};

/// One record for each of `directions`. Takes the transform's outputs for the layout's speakers and throws
/// slib::BadParameterException where their counts differ, or the inputs make no whole order.
std::vector<DirectionFigures> CheckDirections(const SpeakerLayout& layout,
                                              const orb3::strans::TimeDomainTransform<double, 1>& transform,
                                              const FrequencyBand& band,
                                              const std::vector<Direction>& directions);

/// Extremes over many directions.
struct AcousticSummary {
    double leastLevel, greatestLevel;  ///< dB
    double leastLength, meanLength;    ///< of the energy vector
    double greatestError, meanError;   ///< degrees of the energy vector
    double loudestSpeaker;             ///< linear
};
AcousticSummary Summarise(const std::vector<DirectionFigures>& figures);

/// `count` directions along the horizon, from `reach` degrees right of ahead to `reach` degrees left, both
/// in.
std::vector<Direction> FrontDirections(double reach, unsigned count);

}  // namespace design
