#pragma once

// Equalisation as parametric filters, read from the text that programs for headphones write. Called by the
// designer of equalisers; pure functions, any thread.
//
//     Preamp: -6.2 dB
//     Filter 1: ON PK Fc 105 Hz Gain 5.5 dB Q 0.70
//     Filter 2: ON LSC Fc 105 Hz Gain -3 dB Q 0.71
//     Filter 3: OFF HP Fc 20 Hz
//
// PK (PEQ) peaks; LS, LSC, HS and HSC, shelves with half their gain at Fc; LP, LPQ, HP and HPQ, passes of 12
// dB an octave; NO, a notch. Q is 0.7071 for all but peaks and notches where it is left out. A "#" begins a
// comment.

#include <Eigen/Core>
#include <istream>
#include <string>
#include <vector>

namespace design {

enum class FilterKind { Peak, LowShelf, HighShelf, LowPass, HighPass, Notch };

struct ParametricFilter {
    FilterKind kind = FilterKind::Peak;
    double frequency = 1000;  ///< Hz, 10 to below 22050
    double gain = 0;          ///< dB, -40 to 40, of peaks and shelves
    double q = 0.70710678;    ///< 0.05 to 50
};

/// The filters that are on, in the order of the lines. The preamp is read and left aside, since an equaliser
/// keeps the loudness. Throws slib::BadDataException, which names `source` and the line, for what isn't as
/// above, and for a text without a filter that is on.
std::vector<ParametricFilter> ReadParametricFilters(std::istream& stream, const std::string& source);

/// Level in dB of all filters together at each of `frequencies` (Hz, 0 to half of `sampleRate`): the
/// second-order sections by the bilinear transform of Bristow-Johnson (1994), with their frequencies warped.
/// No lower than -120 for each filter.
Eigen::VectorXd FilterLevels(const std::vector<ParametricFilter>& filters, double sampleRate,
                             const Eigen::VectorXd& frequencies);

}  // namespace design
