#pragma once

// Measured responses at another sample rate. Pure function, any thread.

#include <Eigen/Core>

namespace design {

/// The columns of `signals`, each a response at `fromRate`, as responses of `count` samples at `toRate` (Hz).
/// Scaled by fromRate / toRate, so that spectra keep their height. A Kaiser-windowed sinc of 64 zero
/// crossings a side limits the band: flat to 0.9 of half the lower rate, and more than 100 dB down past that
/// half.
Eigen::MatrixXd Resample(const Eigen::MatrixXd& signals, double fromRate, double toRate, Eigen::Index count);

}  // namespace design
