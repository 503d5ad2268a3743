#pragma once

// How near a binaural decoder comes to the head it was designed on: interaural delays and spectra over
// directions, as figures for tables and curves for plots. Used by checks, tests and plots; pure functions.

#include <vector>

#include "library/headdata.h"
#include "library/headdecoder.h"
#include "library/interauraldelay.h"

namespace design {

/// Median, mean and 95th percentile of absolute values over directions.
struct ErrorFigures {
    double median = 0, mean = 0, percentile95 = 0;
};

struct HeadErrors {
    ErrorFigures delay;       ///< seconds
    ErrorFigures low;         ///< dB, bands from 100 Hz to 8 kHz
    ErrorFigures high;        ///< dB, bands from 8 to 16 kHz
    ErrorFigures whole;       ///< dB, bands from 100 Hz to 16 kHz
    ErrorFigures interaural;  ///< dB, of the level difference between the ears, bands as for `whole`
    double frontLevel = 0;    ///< dB, FrontalEnergy of the decoder
};

/// Errors of a decoder over all measured directions of `head`, which must have its rate. A direction's
/// spectral error is the mean, over the auditory bands one bandwidth apart and over both ears, of the
/// absolute level difference. A level that all share is no error and is taken out before. Throws
/// slib::BadParameterException for another rate, or no decoder for headphones.
HeadErrors CheckHead(const HeadTransform& transform, const HeadSpectra& head);

/// One direction of the horizontal plane.
struct HorizontalDifference {
    double azimuth;  ///< radians, positive to the left, -pi to pi
    double delay;    ///< seconds that the right ear is behind
    double level;    ///< dB that the left ear is louder, 100 Hz to 16 kHz, equal weight per auditory band
};

/// Those directions of `spectra` within 2.5 degrees of the horizontal plane, in the order of azimuth.
std::vector<HorizontalDifference> HorizontalDifferences(const HeadSpectra& spectra);

}  // namespace design
