#pragma once

// What makes a pair of headphones even: filters for both ears, of least delay, which follow a decoder for
// headphones. Called by the designer; pure functions, any thread.

#include <Eigen/Core>
#include <string>
#include <vector>

#include "library/parametricfilters.h"
#include "orb3core/transform/timedomaintransform.h"

namespace design {

/// Either filters, the same for both ears, or measured impulse responses.
struct HeadphoneCorrection {
    std::vector<ParametricFilter> filters;
    Eigen::MatrixXd responses;  ///< samples by one channel, or two (left, right); empty for `filters`
    double sampleRate = 0;      ///< Hz, of `responses`
};

/// Two inputs and two outputs, each ear to itself: minimum phase with the correction's magnitudes, 60 dB down
/// at the end of the rings, of 341 ms at most. The mean power over both ears and over auditory bands one
/// bandwidth apart, from 100 Hz to 16 kHz, is 1, so that a diffuse field stays as loud. Throws
/// slib::BadDataException for responses of no use: silence, not numbers, or a rate that isn't one of sound,
/// and for a correction that reaches more than 40 dB above that mean.
orb3::strans::TimeDomainTransform<double, 1> DesignHeadphoneEqualiser(const HeadphoneCorrection& correction,
                                                                      double sampleRate);

/// The correction in a file: an impulse response where `path` ends in ".wav", else a text of filters. Throws
/// slib::BadDataException, which names the file and the fault.
HeadphoneCorrection ReadHeadphoneCorrection(const std::string& path);

}  // namespace design
