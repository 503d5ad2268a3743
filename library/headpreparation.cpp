#include "library/headpreparation.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "library/diffusefield.h"
#include "library/headcoverage.h"
#include "library/headfourier.h"
#include "library/headresampler.h"
#include "library/spherehead.h"
#include "slib/exception.h"

namespace design {
namespace {

using Complex = std::complex<double>;
using Eigen::Index;

constexpr std::size_t fewestDirections = 36;
constexpr double windowSeconds = 0.010, leadSeconds = 0.001, greatestDelay = 0.005;
constexpr double silence = 1e-3;  // of the greatest power over time: less comes before the sound
constexpr double trustedFrom = 200, trustedWhole = 400, delayBandEnd = 1200;  // Hz
constexpr double equalisedTo = 18000;                                         // Hz
constexpr double tiny = 1e-12;

// One delay for each direction, all counted from the smallest of both ears.
std::array<Eigen::VectorXd, 2> RelativeDelays(const HeadImpulses& head) {
    std::array<Eigen::VectorXd, 2> delays = head.delays;
    for (Eigen::VectorXd& ear : delays) {
        if (ear.size() == 0) ear = Eigen::VectorXd::Zero(static_cast<Index>(head.directions.size()));
    }
    const double least = std::min(delays[LeftEar].minCoeff(), delays[RightEar].minCoeff());
    for (Eigen::VectorXd& ear : delays) {
        ear.array() -= least;
        if (ear.maxCoeff() <= greatestDelay) continue;
        throw slib::BadDataException("The delays of a measured head are further apart than 5 ms.");
    }
    return delays;
}

// Every direction has a mirror image, and the differences between the ears there hold less than -40 dB of
// the energy. Heads with delays are taken as they are.
bool IsSymmetric(const HeadImpulses& head, const std::array<Eigen::VectorXd, 2>& delays) {
    if (delays[LeftEar].maxCoeff() > 0 || delays[RightEar].maxCoeff() > 0) return false;
    double difference = 0;
    for (Index i = 0; i < head.ears[LeftEar].cols(); ++i) {
        Direction opposite = head.directions[static_cast<std::size_t>(i)];
        opposite.y() = -opposite.y();
        const Neighbour mirror = NearestOf(head.directions, opposite);
        if (mirror.angle > 0.01) return false;
        difference += (head.ears[LeftEar].col(i) - head.ears[RightEar].col(mirror.index)).squaredNorm();
    }
    return difference < 1e-4 * head.ears[LeftEar].squaredNorm();
}

// The first sample that isn't silence at every ear.
Index FirstSound(const std::array<Eigen::MatrixXd, 2>& ears) {
    const Eigen::VectorXd power =
        ears[LeftEar].rowwise().squaredNorm() + ears[RightEar].rowwise().squaredNorm();
    if (!(power.maxCoeff() > 0)) throw slib::BadDataException("A measured head has no sound.");
    return std::find_if(power.begin(), power.end(),
                        [threshold = silence * power.maxCoeff()](double p) { return p >= threshold; }) -
           power.begin();
}

// Ones, then the falling half of a cosine window over the last quarter.
Eigen::VectorXd ClosingWindow(Index length) {
    const Index fade = length / 4;
    const auto steps = static_cast<double>(fade);
    Eigen::VectorXd window = Eigen::VectorXd::Ones(length);
    window.tail(fade) =
        0.5 + 0.5 * (Eigen::ArrayXd::LinSpaced(fade, 0.5, steps - 0.5) * (std::numbers::pi / steps)).cos();
    return window;
}

class Preparation {
public:
    Preparation(const HeadImpulses& head, double sampleRate)
        : head(head), delays(RelativeDelays(head)), fourier(headTransformLength) {
        spectra.name = head.name;
        spectra.sampleRate = sampleRate;
        spectra.directions = head.directions;
        spectra.measured = static_cast<Index>(head.directions.size());
        spectra.symmetric = IsSymmetric(head, delays);
        omegas = Eigen::VectorXd::LinSpaced(fourier.bins, 0, std::numbers::pi * sampleRate);
        for (const Direction& direction : DirectionsOfGaps(head.directions)) {
            spectra.directions.push_back(direction);
        }
        spectra.areas = NearestAreas(spectra.directions);
        sphere = MakeSphereSpectra(SphereHead(), spectra.directions, sampleRate, fourier.bins);
    }

    HeadSpectra Prepare() {
        TransformMeasured();
        ContinueOverGaps();
        EqualiseDiffuseField(spectra, std::min(equalisedTo, 0.8 * head.sampleRate / 2));
        SettleTime();
        return std::move(spectra);
    }

private:
    const HeadImpulses& head;
    const std::array<Eigen::VectorXd, 2> delays;
    HeadFourier fourier;
    HeadSpectra spectra, sphere;
    Eigen::VectorXd omegas;  // radians a second of the bins

    Index BinOf(double frequency) const { return static_cast<Index>(frequency / spectra.BinWidth()); }

    // Spectrum of a pure delay of `seconds`.
    Eigen::RowVectorXcd DelaySpectrum(double seconds) const {
        return (Complex(0, -seconds) * omegas.array()).exp().transpose();
    }

    void TransformMeasured() {
        const double rate = spectra.sampleRate, taps = static_cast<double>(head.ears[LeftEar].rows());
        std::array<Eigen::MatrixXd, 2> resampled;
        for (std::size_t ear : {0u, 1u}) {
            const auto count = static_cast<Index>(std::ceil(taps * rate / head.sampleRate));
            resampled[ear] = Resample(head.ears[ear], head.sampleRate, rate, count);
        }
        const Index first =
            std::max<Index>(FirstSound(resampled) - static_cast<Index>(leadSeconds * rate), 0);
        const Index width = std::min({static_cast<Index>(windowSeconds * rate),
                                      resampled[LeftEar].rows() - first, fourier.length / 2});
        const Eigen::VectorXd window = ClosingWindow(width);
        for (std::size_t ear : {0u, 1u}) {
            Eigen::MatrixXcd& values = spectra.ears[ear];
            values.resize(static_cast<Index>(spectra.directions.size()), fourier.bins);
            for (Index i = 0; i < spectra.measured; ++i) {
                const Eigen::VectorXd impulse = resampled[ear].col(i).segment(first, width);
                values.row(i) = fourier.Spectrum(impulse.cwiseProduct(window)).transpose();
                values.row(i).array() *= DelaySpectrum(delays[ear][i]).array();
            }
        }
    }

    // Level and phase are continued apart, since complex values that turn over directions would fade.
    void ContinueOverGaps() {
        const Index gaps = static_cast<Index>(spectra.directions.size()) - spectra.measured;
        if (gaps == 0) return;
        const Eigen::MatrixXd continuation =
            Continuation(spectra.directions, spectra.measured, spectra.areas);
        for (std::size_t ear : {0u, 1u}) {
            const Eigen::ArrayXXcd ratio = spectra.ears[ear].topRows(spectra.measured).array() /
                                           sphere.ears[ear].topRows(spectra.measured).array();
            const Eigen::ArrayXXd level = continuation * (ratio.abs() + tiny).log().matrix();
            const Eigen::ArrayXXcd phase = continuation * (ratio / (ratio.abs() + tiny)).matrix();
            spectra.ears[ear].bottomRows(gaps) =
                sphere.ears[ear].bottomRows(gaps).array() * level.exp() * phase / (phase.abs() + tiny);
        }
    }

    // The corrections to the sphere, freed of their mean delay, and at low frequencies of all but delays.
    void SettleTime() {
        std::array<Eigen::MatrixXcd, 2> corrections;
        for (std::size_t ear : {0u, 1u}) {
            corrections[ear] = spectra.ears[ear].cwiseQuotient(sphere.ears[ear]);
        }
        const double rough = RoughDelay(corrections);
        std::array<Eigen::VectorXd, 2> own = {OwnDelays(corrections[LeftEar], rough),
                                              OwnDelays(corrections[RightEar], rough)};
        const double mean = (own[LeftEar] + own[RightEar]).dot(spectra.areas) / 2;
        for (std::size_t ear : {0u, 1u}) {
            corrections[ear].array().rowwise() *= DelaySpectrum(-mean).array();
            FadeToDelays(own[ear].array() - mean, corrections[ear]);
            spectra.ears[ear] = corrections[ear].cwiseProduct(sphere.ears[ear]);
        }
    }

    // Seconds that all corrections share, from the mean turn of phase from bin to bin; good to a fraction of
    // the period at the end of the band.
    double RoughDelay(const std::array<Eigen::MatrixXcd, 2>& corrections) const {
        const Index first = BinOf(trustedWhole), count = BinOf(delayBandEnd) - first;
        Complex turn = 0;
        for (const Eigen::MatrixXcd& ear : corrections) {
            turn +=
                ear.middleCols(first, count).conjugate().cwiseProduct(ear.middleCols(first + 1, count)).sum();
        }
        return -std::arg(turn) / omegas[1];
    }

    // Seconds for each direction: the pure delay nearest in phase to the correction, from 400 to 1200 Hz.
    Eigen::VectorXd OwnDelays(const Eigen::MatrixXcd& corrections, double rough) const {
        const Index first = BinOf(trustedWhole), count = BinOf(delayBandEnd) - first;
        const Eigen::VectorXd band = omegas.segment(first, count);
        const Eigen::RowVectorXcd back = DelaySpectrum(-rough).segment(first, count);
        const Eigen::MatrixXd phases =
            (corrections.middleCols(first, count).array().rowwise() * back.array()).arg();
        return rough - (phases * band).array() / band.squaredNorm();
    }

    void FadeToDelays(const Eigen::ArrayXd& own, Eigen::MatrixXcd& corrections) const {
        for (Index k = 0; k < BinOf(trustedWhole); ++k) {
            const double frequency = static_cast<double>(k) * spectra.BinWidth();
            const double trust =
                std::clamp((frequency - trustedFrom) / (trustedWhole - trustedFrom), 0.0, 1.0);
            const Eigen::VectorXcd pure = (Complex(0, -omegas[k]) * own).exp();
            corrections.col(k) = trust * corrections.col(k) + (1 - trust) * pure;
        }
    }
};

}  // namespace

HeadSpectra PrepareMeasuredHead(const HeadImpulses& head, double sampleRate) {
    if (head.directions.size() < fewestDirections) {
        throw slib::BadDataException("A measured head needs responses from at least 36 directions.");
    }
    return Preparation(head, sampleRate).Prepare();
}

}  // namespace design
