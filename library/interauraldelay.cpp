#include "library/interauraldelay.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "library/spherehead.h"

namespace design {
namespace {

using Eigen::Index;
using Complex = std::complex<double>;

constexpr double delayPass = 1200, delayStop = 1500;  // Hz; between them the low pass falls

// Cross-spectrum of one direction, low-passed, from 0 Hz on.
Eigen::VectorXcd LowCrossSpectrum(const HeadSpectra& spectra, Index direction) {
    const Index count = std::min(static_cast<Index>(delayStop / spectra.BinWidth()) + 1, spectra.Bins());
    Eigen::VectorXcd cross = spectra.ears[LeftEar].row(direction).head(count).conjugate().cwiseProduct(
        spectra.ears[RightEar].row(direction).head(count));
    for (Index k = 0; k < count; ++k) {
        const double fall =
            (static_cast<double>(k) * spectra.BinWidth() - delayPass) / (delayStop - delayPass);
        cross[k] *= 0.5 + 0.5 * std::cos(std::numbers::pi * std::clamp(fall, 0.0, 1.0));
    }
    cross[0] *= 0.5;
    return cross;
}

double Correlation(const Eigen::VectorXcd& cross, double binWidth, double lag) {
    const Complex step = std::polar(1.0, 2 * std::numbers::pi * binWidth * lag);
    Complex turn = 1, sum = 0;
    for (const Complex& value : cross) {
        sum += value * turn;
        turn *= step;
    }
    return sum.real();
}

// The lag of the greatest correlation within 1.2 ms, by a grid refined three times.
double GreatestLag(const Eigen::VectorXcd& cross, double binWidth) {
    double centre = 0;
    for (double step : {5e-5, 5e-6, 5e-7, 5e-8}) {
        const int reach = step == 5e-5 ? 24 : 10;
        double best = -std::numeric_limits<double>::infinity(), bestLag = centre;
        for (int i = -reach; i <= reach; ++i) {
            const double value = Correlation(cross, binWidth, centre + i * step);
            if (value > best) best = value, bestLag = centre + i * step;
        }
        centre = bestLag;
    }
    return centre;
}

}  // namespace

Eigen::VectorXd InterauralDelays(const HeadSpectra& spectra) {
    Eigen::VectorXd delays(static_cast<Index>(spectra.directions.size()));
    for (Index i = 0; i < delays.size(); ++i) {
        delays[i] = GreatestLag(LowCrossSpectrum(spectra, i), spectra.BinWidth());
    }
    return delays;
}

double EffectiveRadius(const HeadSpectra& head) {
    const Eigen::VectorXd delays = InterauralDelays(head);
    SphereHead sphere;
    for (int round = 0; round < 3; ++round) {  // a sphere's delays grow a little less than its radius
        const Eigen::VectorXd ofSphere =
            InterauralDelays(MakeSphereSpectra(sphere, head.directions, head.sampleRate, head.Bins()));
        const Eigen::VectorXd weighted = ofSphere.cwiseProduct(head.areas);
        sphere.radius *= weighted.dot(delays) / weighted.dot(ofSphere);
    }
    return sphere.radius;
}

void ScaleInterauralDelays(HeadSpectra& head, double ratio) {
    const Eigen::ArrayXd more = (ratio - 1) / 2 * InterauralDelays(head).array();
    for (Index k = 0; k < head.Bins(); ++k) {
        const double omega = 2 * std::numbers::pi * head.BinWidth() * static_cast<double>(k);
        const Eigen::ArrayXcd turn = (Complex(0, -omega) * more).exp();  // of the right ear
        head.ears[RightEar].col(k).array() *= turn;
        head.ears[LeftEar].col(k).array() *= turn.conjugate();
    }
}

}  // namespace design
