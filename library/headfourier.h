#pragma once

// The discrete Fourier transform of real signals as the head designer needs it: half spectra in double
// precision, and minimum-phase spectra. Free functions of a plan that one thread uses at a time.

#include <Eigen/Core>
#include <unsupported/Eigen/FFT>

namespace design {

/// Transforms of one length. A half spectrum holds the length / 2 + 1 bins from 0 Hz to half the rate.
class HeadFourier {
public:
    /// `length` is even.
    explicit HeadFourier(Eigen::Index length);

    const Eigen::Index length;
    const Eigen::Index bins;  ///< length / 2 + 1

    /// Half spectrum of a signal of up to `length` samples, unnormalised; a shorter one is padded with zeros.
    Eigen::VectorXcd Spectrum(const Eigen::Ref<const Eigen::VectorXd>& signal);

    /// The signal of `length` samples whose half spectrum is given. The imaginary parts at 0 Hz and at half
    /// the rate don't count.
    Eigen::VectorXd Signal(const Eigen::Ref<const Eigen::VectorXcd>& spectrum);

    /// The half spectrum of least delay with the given magnitudes (`bins`, above 0), by folding the cepstrum
    /// (Oppenheim & Schafer 1975).
    Eigen::VectorXcd MinimumPhase(const Eigen::Ref<const Eigen::VectorXd>& magnitudes);

private:
    Eigen::FFT<double> fft;
};

}  // namespace design
