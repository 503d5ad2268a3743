#include "library/headfourier.h"

namespace design {

HeadFourier::HeadFourier(Eigen::Index length) : length(length), bins(length / 2 + 1) {
    fft.SetFlag(Eigen::FFT<double>::HalfSpectrum);
}

Eigen::VectorXcd HeadFourier::Spectrum(const Eigen::Ref<const Eigen::VectorXd>& signal) {
    Eigen::VectorXd padded = Eigen::VectorXd::Zero(length);
    padded.head(signal.size()) = signal;
    Eigen::VectorXcd spectrum(bins);
    fft.fwd(spectrum, padded);
    return spectrum;
}

Eigen::VectorXd HeadFourier::Signal(const Eigen::Ref<const Eigen::VectorXcd>& spectrum) {
    Eigen::VectorXcd half = spectrum;
    half[0].imag(0);
    half[bins - 1].imag(0);
    Eigen::VectorXd signal(length);
    fft.inv(signal, half, length);
    return signal;
}

Eigen::VectorXcd HeadFourier::MinimumPhase(const Eigen::Ref<const Eigen::VectorXd>& magnitudes) {
    Eigen::VectorXd cepstrum = Signal(magnitudes.array().log().matrix().cast<std::complex<double>>());
    cepstrum.segment(1, bins - 2) *= 2;
    cepstrum.tail(length - bins).setZero();
    return Spectrum(cepstrum).array().exp();
}

}  // namespace design
