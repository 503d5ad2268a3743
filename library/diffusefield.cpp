#include "library/diffusefield.h"

#include <Eigen/LU>
#include <algorithm>
#include <cmath>
#include <complex>

#include "library/erb.h"
#include "library/headfourier.h"

namespace design {
namespace {

constexpr double powerFloor = 1e-8;  // of the greatest: what no equaliser should lift

// Mean power of both ears over the sphere, a value a bin.
Eigen::VectorXd DiffusePower(const HeadSpectra& spectra) {
    return (spectra.ears[LeftEar].cwiseAbs2() + spectra.ears[RightEar].cwiseAbs2()).transpose() *
           spectra.areas / 2;
}

// Means over windows of `bandwidths` auditory bands around each bin.
Eigen::VectorXd Smoothed(const Eigen::VectorXd& power, double binWidth, double bandwidths) {
    Eigen::VectorXd result(power.size());
    for (Eigen::Index k = 0; k < power.size(); ++k) {
        const double half = bandwidths * ErbBandwidth(static_cast<double>(k) * binWidth) / 2 / binWidth;
        const Eigen::Index reach = std::min({static_cast<Eigen::Index>(half), k, power.size() - 1 - k});
        result[k] = power.segment(k - reach, 2 * reach + 1).mean();
    }
    return result;
}

// The Hermitian square root R of a covariance C: by Cayley and Hamilton R^2 + det R = R tr R, and (tr R)^2 is
// tr C + 2 det R.
Eigen::Matrix2cd Root(const Eigen::Matrix2cd& covariance) {
    const double determinant = std::sqrt(std::max(covariance.determinant().real(), 0.0));
    const double trace = std::sqrt(covariance.trace().real() + 2 * determinant);
    if (!(trace > 0)) return Eigen::Matrix2cd::Zero();
    return (covariance + determinant * Eigen::Matrix2cd::Identity()) / trace;
}

// The unitary factor U of M = U P, with P Hermitian: P + det P P^-1 = tr P, and det P P^-1 is, but for the
// phase of det M, the adjugate of M^H times U.
Eigen::Matrix2cd Unitary(const Eigen::Matrix2cd& m) {
    const std::complex<double> determinant = m.determinant();
    const double size = std::abs(determinant), trace = std::sqrt(m.squaredNorm() + 2 * size);
    if (!(trace > 0)) return Eigen::Matrix2cd::Identity();
    Eigen::Matrix2cd adjugate;
    adjugate << m(1, 1), -m(1, 0), -m(0, 1), m(0, 0);
    return (m + (size > 0 ? determinant / size : 1) * adjugate.conjugate()) / trace;
}

}  // namespace

Eigen::VectorXcd DiffuseEqualiser(const Eigen::VectorXd& power, double binWidth, double highest) {
    Eigen::VectorXd smooth = Smoothed(power, binWidth, 0.5);
    const auto last = std::min(static_cast<Eigen::Index>(highest / binWidth), smooth.size() - 1);
    smooth.tail(smooth.size() - 1 - last).setConstant(smooth[last]);
    smooth = smooth.cwiseMax(powerFloor * smooth.maxCoeff());
    HeadFourier fourier(2 * (smooth.size() - 1));
    return fourier.MinimumPhase(smooth.cwiseSqrt()).cwiseInverse();
}

void EqualiseDiffuseField(HeadSpectra& spectra, double highest) {
    const Eigen::RowVectorXcd equaliser =
        DiffuseEqualiser(DiffusePower(spectra), spectra.BinWidth(), highest).transpose();
    for (Eigen::MatrixXcd& ear : spectra.ears)
        ear.array().rowwise() *= equaliser.array();
}

Eigen::Matrix2cd EarCovariance(const Eigen::VectorXd& areas, const Eigen::VectorXcd& left,
                               const Eigen::VectorXcd& right) {
    Eigen::MatrixX2cd ears(left.size(), 2);
    ears << left, right;
    return (ears.transpose() * areas.asDiagonal() * ears.conjugate());
}

Eigen::Matrix2cd CovarianceMatch(const Eigen::Matrix2cd& actual, const Eigen::Matrix2cd& target) {
    const Eigen::Matrix2cd helped = actual + 1e-6 * actual.trace().real() * Eigen::Matrix2cd::Identity();
    const Eigen::Matrix2cd from = Root(helped), to = Root(target);
    return to * Unitary(to * from) * from.inverse();
}

}  // namespace design
