#include "library/decoderoptimiser.h"

#include <Eigen/Cholesky>
#include <Eigen/Geometry>
#include <cmath>
#include <numbers>

namespace design {
namespace {

using Eigen::Index;

// What the residuals weigh against each other: at these, layouts of 5 and 7 give up a tenth of the length of
// energy vectors for front directions right to a degree.
constexpr double levelWeight = 1;
constexpr double directionWeight = 1;
constexpr double frontWeight = 3;
constexpr double lengthWeight = 0.5;
constexpr double gapWeight = 0.5;
constexpr double front = 50 * std::numbers::pi / 180;

// What is wanted at one direction: components of the energy vector along axes of its own.
struct Aim {
    Direction vector;
    Eigen::Matrix3d axes;  // rows: along the aim, across it, and up from both; each times its weight
};

class Fit {
public:
    Fit(const FieldBasis& basis, const std::vector<Direction>& speakers, const Panner& panner,
        const Eigen::MatrixXd& mixing)
        : points(basis.DesignPoints()),
          values(basis.Values(points.directions)),
          places(static_cast<Index>(speakers.size()), 3),
          coherence(mixing) {
        if (coherence.size() == 0) coherence.setIdentity(places.rows(), places.rows());
        for (Index k = 0; k < places.rows(); ++k)
            places.row(k) = speakers[static_cast<std::size_t>(k)].transpose();
        const double length = MaxEnergyLength(basis.order, basis.isFlat);
        for (const Direction& direction : points.directions)
            aims.push_back(AimAt(direction, panner(direction), length));
    }

    Eigen::MatrixXd Run(Eigen::MatrixXd decoder) const {
        Evaluation now = Evaluate(decoder);
        double damping = 1e-3;
        const int rounds = decoder.size() > 300 ? 8 : 60;
        for (int round = 0; round < rounds && damping < 1e6; ++round) {
            const Eigen::MatrixXd tried = decoder - Step(now, damping, decoder);
            const Evaluation next = Evaluate(tried);
            if (next.cost < now.cost) {
                decoder = tried;
                now = next;
                damping /= 4;
            } else {
                damping *= 8;
            }
        }
        return decoder;
    }

private:
    // The normal equations of the linearised residuals.
    struct Evaluation {
        double cost = 0;
        Eigen::MatrixXd normal;
        Eigen::VectorXd gradient;
    };

    const Quadrature points;
    const Eigen::MatrixXd values;  // points by functions
    Eigen::MatrixXd places;        // speakers by 3
    Eigen::MatrixXd coherence;     // speakers by speakers
    std::vector<Aim> aims;

    Aim AimAt(const Direction& direction, const Panner::Gains& gains, double length) const {
        Aim aim{direction * length, {}};
        const bool isAhead = AngleBetween(direction, Direction::UnitX()) < front;
        if (gains.isInGap) aim.vector = places.transpose() * gains.speakers.cwiseAbs2();
        const Direction along =
            gains.isInGap && aim.vector.norm() > 1e-3 ? aim.vector.normalized() : direction;
        const Direction side = Direction::UnitZ().cross(along);
        const Direction across = side.norm() > 1e-6 ? side.normalized() : Direction::UnitY();
        const double turn = gains.isInGap ? gapWeight : isAhead ? frontWeight : directionWeight;
        aim.axes << lengthWeight * along.transpose(), turn * across.transpose(),
            turn * along.cross(across).transpose();
        return aim;
    }

    // Row 0 is the level, rows 1 to 3 the energy vector in the aim's axes; columns go by speaker.
    Evaluation Evaluate(const Eigen::MatrixXd& decoder) const {
        const Index speakers = decoder.rows(), functions = decoder.cols();
        Evaluation result{0, Eigen::MatrixXd::Zero(decoder.size(), decoder.size()),
                          Eigen::VectorXd::Zero(decoder.size())};
        Eigen::Matrix<double, 4, Eigen::Dynamic> slopes(4, speakers);
        Eigen::MatrixXd rows(4 * values.rows(), decoder.size());
        Eigen::VectorXd residuals(4 * values.rows());
        for (Index i = 0; i < values.rows(); ++i) {
            const Aim& aim = aims[static_cast<std::size_t>(i)];
            const Eigen::VectorXd gains = decoder * values.row(i).transpose();
            const double energy = gains.squaredNorm();
            const Direction vector = places.transpose() * gains.cwiseAbs2() / energy;
            const double root = std::sqrt(points.weights[i]);
            const Eigen::RowVectorXd mixed = gains.transpose() * coherence;
            const double loudness = mixed * gains;
            residuals[4 * i] = root * levelWeight * std::log(loudness);
            residuals.segment<3>(4 * i + 1) = root * (aim.axes * (vector - aim.vector));
            const Eigen::RowVectorXd share = root * 2 / energy * gains.transpose();
            slopes.row(0) = root * levelWeight * 2 / loudness * mixed;
            slopes.bottomRows<3>() =
                aim.axes * (places.transpose().colwise() - vector) * share.transpose().asDiagonal();
            for (Index f = 0; f < functions; ++f)
                rows.block(4 * i, f * speakers, 4, speakers) = values(i, f) * slopes;
        }
        result.cost = residuals.squaredNorm();
        result.gradient = rows.transpose() * residuals;
        result.normal.selfadjointView<Eigen::Lower>().rankUpdate(rows.transpose());
        return result;
    }

    static Eigen::MatrixXd Step(const Evaluation& now, double damping, const Eigen::MatrixXd& decoder) {
        Eigen::MatrixXd damped = now.normal;
        damped.diagonal().array() += damping * (now.normal.diagonal().maxCoeff() + 1e-12);
        const Eigen::VectorXd step = damped.selfadjointView<Eigen::Lower>().llt().solve(now.gradient);
        return step.reshaped(decoder.rows(), decoder.cols());
    }
};

}  // namespace

Eigen::MatrixXd OptimiseEnergyVectors(const FieldBasis& basis, const std::vector<Direction>& speakers,
                                      const Panner& panner, const Eigen::MatrixXd& coherence,
                                      const Eigen::MatrixXd& start) {
    if (start.size() > 600) return start;
    return Fit(basis, speakers, panner, coherence).Run(start);
}

}  // namespace design
