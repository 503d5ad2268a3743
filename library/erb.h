#pragma once

// Bands of the ear: the equivalent rectangular bandwidth scale, and the power of spectra in such bands. Used
// by the head designer and its checks; pure functions, any thread.

#include <Eigen/Core>

namespace design {

/// Bandwidth of the auditory filter centred at `frequency`, both in Hz (Glasberg & Moore 1990).
double ErbBandwidth(double frequency);

/// Number of such bandwidths below `frequency` (Hz), and its inverse (Glasberg & Moore 1990).
double ErbRate(double frequency);
double ErbRateFrequency(double rate);

/// Auditory bands one bandwidth apart, as weights on the bins of a power spectrum.
struct ErbBands {
    Eigen::VectorXd centres;  ///< Hz, rising
    Eigen::MatrixXd weights;  ///< bands by bins; each row sums to 1
};

/// Bands with centres from `low` up to `high` Hz for spectra of `bins` bins from 0 Hz to half of `sampleRate`
/// (Hz), shaped as the squared magnitude of a gammatone filter of order 4 (Patterson et al. 1992).
ErbBands MakeErbBands(double low, double high, double sampleRate, Eigen::Index bins);

}  // namespace design
