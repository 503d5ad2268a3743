#include "library/diffusefield.h"

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>

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

// The Hermitian square root.
Eigen::Matrix2cd Root(const Eigen::Matrix2cd& covariance) {
    return Eigen::SelfAdjointEigenSolver<Eigen::Matrix2cd>(covariance).operatorSqrt();
}

}  // namespace

void EqualiseDiffuseField(HeadSpectra& spectra, double highest) {
    Eigen::VectorXd power = Smoothed(DiffusePower(spectra), spectra.BinWidth(), 0.5);
    const auto last = std::min(static_cast<Eigen::Index>(highest / spectra.BinWidth()), power.size() - 1);
    power.tail(power.size() - 1 - last).setConstant(power[last]);
    power = power.cwiseMax(powerFloor * power.maxCoeff());
    HeadFourier fourier(2 * (power.size() - 1));
    const Eigen::RowVectorXcd equaliser = fourier.MinimumPhase(power.cwiseSqrt()).cwiseInverse().transpose();
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
    const Eigen::JacobiSVD<Eigen::Matrix2cd> svd(to * from, Eigen::ComputeFullU | Eigen::ComputeFullV);
    return to * svd.matrixU() * svd.matrixV().adjoint() * from.inverse();
}

}  // namespace design
