#include "library/pairdecoder.h"

#include <Eigen/Cholesky>
#include <algorithm>
#include <cmath>
#include <numbers>

#include "library/fieldbasis.h"

namespace design {
namespace {

using Eigen::Index;
using std::numbers::pi;

// What misses of the wishes count against each other. Turning back isn't traded against anything.
constexpr double levelWeight = 1.5;
constexpr double positionWeight = 1;
constexpr double sideWeight = 0.4;
constexpr double turningWeight = 1000;

// The far speaker against the near one, as an angle of panning: for a source at a speaker, and to the side.
const double nearest = std::atan(std::pow(10, -17 / 20.0));
const double least = std::atan(std::pow(10, -30 / 20.0));
constexpr double slightest = 4e-4;  // radians from one of the positions to the next
constexpr Index positions = 100;

// Gains over the sine of the lateral angle, as the coefficients of a polynomial.
double GainAt(const Eigen::VectorXd& coefficients, double sine) {
    double sum = 0;
    for (Index i = coefficients.size(); i-- > 0;)
        sum = sum * sine + coefficients[i];
    return sum;
}

// `reach` is the sine at which the left speaker stands.
class Curve {
public:
    Curve(unsigned order, double reach) : reach(reach), coefficients(Eigen::VectorXd::Zero(order + 1)) {
        coefficients[0] = std::sqrt(0.5);
        coefficients[1] = 0.5;
    }

    // Levenberg and Marquardt's method; the slopes are differences.
    Eigen::VectorXd Fitted() {
        Eigen::VectorXd now = Residuals(coefficients);
        double damping = 1e-2;
        for (int round = 0; round < 500 && damping < 1e9; ++round) {
            const Eigen::MatrixXd slopes = Slopes(now);
            Eigen::MatrixXd normal = slopes.transpose() * slopes;
            normal.diagonal().array() += damping;
            const Eigen::VectorXd tried = coefficients - normal.ldlt().solve(slopes.transpose() * now);
            const Eigen::VectorXd next = Residuals(tried);
            const bool isBetter = next.squaredNorm() < now.squaredNorm();
            damping *= isBetter ? 1 / 3.0 : 4;
            if (!isBetter) continue;
            coefficients = tried;
            now = next;
        }
        return coefficients;
    }

private:
    double reach;
    Eigen::VectorXd coefficients;

    double WantedPan(double sine) const {
        const double share = std::tan(std::asin(sine)) / std::tan(std::asin(reach));
        const double law = pi / 4 - std::atan(std::min(share, 1.0));
        if (sine < reach && law > nearest) return law;
        return nearest + (least - nearest) * std::max(0.0, (sine - reach) / (1 - reach));
    }

    // From the middle to the side: level, position and, where it turns back, how far.
    Eigen::VectorXd Residuals(const Eigen::VectorXd& tried) const {
        Eigen::VectorXd residuals = Eigen::VectorXd::Zero(3 * (positions + 1));
        double last = pi / 4;
        for (Index i = 0; i <= positions; ++i) {
            const double sine = static_cast<double>(i) / positions;
            const double near = GainAt(tried, sine), far = GainAt(tried, -sine);
            const double pan = std::atan2(far, near);
            residuals[3 * i] = levelWeight * std::log(near * near + far * far);
            residuals[3 * i + 1] = (sine < reach ? positionWeight : sideWeight) * (pan - WantedPan(sine));
            if (i > 0) residuals[3 * i + 2] = turningWeight * std::max(0.0, pan - last + slightest);
            last = pan;
        }
        residuals[2] = turningWeight * std::max(0.0, least / 2 - last);
        return residuals;
    }

    Eigen::MatrixXd Slopes(const Eigen::VectorXd& now) const {
        constexpr double step = 1e-6;
        Eigen::MatrixXd slopes(now.size(), coefficients.size());
        for (Index i = 0; i < coefficients.size(); ++i) {
            Eigen::VectorXd moved = coefficients;
            moved[i] += step;
            slopes.col(i) = (Residuals(moved) - now) / step;
        }
        return slopes;
    }
};

}  // namespace

Eigen::MatrixXd DesignPairDecoder(const Direction& left, const Direction& right, unsigned order) {
    const Direction side = (left - right).normalized();
    const double reach = std::clamp((left - right).norm() / 2, 0.1, 0.9);
    const Eigen::VectorXd coefficients = Curve(order, reach).Fitted();
    const Quadrature points = GaussRings(2 * order);
    const Eigen::MatrixXd values =
        points.weights.asDiagonal() * FieldBasis(order, false).Values(points.directions);
    Eigen::MatrixXd decoder = Eigen::MatrixXd::Zero(2, values.cols());
    for (Index i = 0; i < values.rows(); ++i) {
        const double sine = points.directions[static_cast<std::size_t>(i)].dot(side);
        decoder.row(0) += GainAt(coefficients, sine) * values.row(i);
        decoder.row(1) += GainAt(coefficients, -sine) * values.row(i);
    }
    return decoder;
}

}  // namespace design
