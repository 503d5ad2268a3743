#include "library/decoderfit.h"

#include <Eigen/Cholesky>
#include <Eigen/Geometry>
#include <array>
#include <cmath>
#include <complex>
#include <numbers>

#include "library/spherehead.h"

namespace design {
namespace {

using Eigen::Index;
using std::numbers::pi;

constexpr double frontWeight = 3;
constexpr double gapWeight = 0.5;
constexpr double front = 50 * pi / 180;
constexpr double listeningRadius = 0.1;  // metres
constexpr double pull = 0.01;            // to the start, for what the wishes leave free

// What is wanted at one direction: components of a vector along axes of its own.
struct Aim {
    Direction vector;
    Eigen::Matrix3d axes;  // rows: along the aim, across it, and up from both; each times its weight
};

// What one ear gets of a band: the power of gains g is g' form g, and `wanted` that of the source itself, one
// a direction.
struct EarForm {
    Eigen::MatrixXd form;
    Eigen::VectorXd wanted;
};

std::vector<Direction> ListeningPlaces() {
    std::vector<Direction> places{Direction::Zero()};
    for (const Direction& direction : HorizonPoints(8).directions)
        places.push_back(direction * listeningRadius);
    return places;
}

Eigen::MatrixXcd EarPressures(int ear, const std::vector<Direction>& directions,
                              const Eigen::VectorXd& frequencies) {
    const SphereHead head;
    const double azimuth = ear == LeftEar ? head.earAzimuth : -head.earAzimuth;
    Eigen::VectorXd cosines(static_cast<Index>(directions.size()));
    for (Index i = 0; i < cosines.size(); ++i)
        cosines[i] = DirectionAt(azimuth, 0).dot(directions[static_cast<std::size_t>(i)]);
    return SphereSurfacePressure(head.radius, cosines, frequencies);
}

EarForm MakeEarForm(int ear, const FitProblem& problem, const std::vector<Direction>& sources,
                    const std::vector<double>& list) {
    const Eigen::VectorXd frequencies = Eigen::VectorXd::Map(list.data(), static_cast<Index>(list.size()));
    const Eigen::MatrixXcd speakers = EarPressures(ear, problem.speakers, frequencies);
    const Eigen::MatrixXcd waves = EarPressures(ear, sources, frequencies);
    const std::vector<Direction> places = ListeningPlaces();
    EarForm result{Eigen::MatrixXd::Zero(speakers.rows(), speakers.rows()),
                   Eigen::VectorXd::Zero(waves.rows())};
    for (Index f = 0; f < frequencies.size(); ++f) {
        const double scale = 1 / waves.col(f).cwiseAbs2().mean();
        result.wanted += scale * waves.col(f).cwiseAbs2();
        for (const Direction& place : places) {
            Eigen::VectorXcd heard = speakers.col(f);
            for (Index k = 0; k < heard.size(); ++k)
                heard[k] *= std::polar(1.0, 2 * pi * frequencies[f] / headSpeedOfSound *
                                                place.dot(problem.speakers[static_cast<std::size_t>(k)]));
            result.form += scale / static_cast<double>(places.size()) * (heard * heard.adjoint()).real();
        }
    }
    return result;
}

class Fit {
public:
    explicit Fit(const FitProblem& given)
        : problem(given),
          points(given.basis.DesignPoints()),
          values(given.basis.Values(points.directions)),
          places(static_cast<Index>(given.speakers.size()), 3),
          coherence(given.coherence) {
        if (coherence.size() == 0) coherence.setIdentity(places.rows(), places.rows());
        for (Index k = 0; k < places.rows(); ++k)
            places.row(k) = problem.speakers[static_cast<std::size_t>(k)].transpose();
        for (const BandWishes& wishes : problem.bands)
            bands.push_back(Prepare(wishes));
    }

    BandDecoders Run(const BandDecoders& start) {
        origin = {start.low, start.high};
        Unknowns now = origin;
        Evaluation evaluation = Evaluate(now);
        // Layouts of many speakers come near enough before the last digits, and in seconds.
        const bool isLarge = start.low.size() > 100;
        const double settled = isLarge ? 1e-4 : 1e-6;
        const int rounds = isLarge ? 40 : 80;
        double damping = 1e-3;
        for (int round = 0; round < rounds && damping < 1e6; ++round) {
            const Unknowns step = Step(evaluation, damping + pull);
            const Unknowns tried{now[0] - step[0], now[1] - step[1]};
            Evaluation next = Evaluate(tried);
            if (next.cost < evaluation.cost) {
                const bool isDone = next.cost > evaluation.cost * (1 - settled);
                now = tried;
                evaluation = std::move(next);
                damping /= 4;
                if (isDone) break;
            } else {
                damping *= 8;
            }
        }
        return {now[0], now[1]};
    }

private:
    static constexpr int stepRounds = 40;

    // Low and high, each speakers by functions.
    using Unknowns = std::array<Eigen::MatrixXd, 2>;

    struct Band {
        const BandWishes* wishes;
        std::vector<Aim> velocity, energy;
        std::vector<EarForm> ears;  // none, or two
        Index residuals;            // a direction
        std::array<double, 2> shares;
    };

    // Of one band: residuals by points, and what they change by with the gains, a block of rows a point.
    struct Linear {
        Eigen::MatrixXd residuals;
        std::vector<Eigen::MatrixXd> slopes;
    };

    struct Evaluation {
        double cost = 0;
        std::vector<Linear> bands;
        Unknowns gradient;
    };

    const FitProblem& problem;
    const Quadrature points;
    const Eigen::MatrixXd values;  // points by functions
    Eigen::MatrixXd places;        // speakers by 3
    Eigen::MatrixXd coherence;     // speakers by speakers
    std::vector<Band> bands;
    Unknowns origin;

    Band Prepare(const BandWishes& wishes) const {
        Band band{&wishes, {}, {}, {}, 8, {wishes.lowShare, 1 - wishes.lowShare}};
        const double length = MaxEnergyLength(problem.basis.order, problem.basis.isFlat);
        for (const Direction& direction : points.directions) {
            const Panner::Gains gains = problem.panner(direction);
            const Direction reach = places.transpose() * gains.speakers / gains.speakers.sum();
            const Direction energyReach = places.transpose() * gains.speakers.cwiseAbs2();
            band.velocity.push_back(
                AimAt(direction, gains.isInGap, 1, reach, wishes.velocity, wishes.velocityLength));
            band.energy.push_back(
                AimAt(direction, gains.isInGap, length, energyReach, wishes.energy, wishes.energyLength));
        }
        if (wishes.ears > 0) {
            for (int ear : {LeftEar, RightEar})
                band.ears.push_back(MakeEarForm(ear, problem, points.directions, wishes.earFrequencies));
            band.residuals += 2;
        }
        return band;
    }

    static Aim AimAt(const Direction& direction, bool isInGap, double length, const Direction& reach,
                     double turnWeight, double lengthWeight) {
        Aim aim{isInGap ? reach : Direction(direction * length), {}};
        const bool isAhead = AngleBetween(direction, Direction::UnitX()) < front;
        const Direction along = isInGap && aim.vector.norm() > 1e-3 ? aim.vector.normalized() : direction;
        const Direction side = Direction::UnitZ().cross(along);
        const Direction across = side.norm() > 1e-6 ? side.normalized() : Direction::UnitY();
        const double turn = turnWeight * (isInGap ? gapWeight : isAhead ? frontWeight : 1);
        aim.axes << lengthWeight * along.transpose(), turn * across.transpose(),
            turn * along.cross(across).transpose();
        return aim;
    }

    Eigen::MatrixXd GainsOf(const Band& band, const Unknowns& unknowns) const {
        return values * (band.shares[0] * unknowns[0] + band.shares[1] * unknowns[1]).transpose();
    }

    Evaluation Evaluate(const Unknowns& unknowns) const {
        Evaluation evaluation;
        std::vector<Eigen::MatrixXd> residuals;
        for (const Band& band : bands) {
            evaluation.bands.push_back(Linearise(band, GainsOf(band, unknowns)));
            evaluation.cost += evaluation.bands.back().residuals.squaredNorm();
            residuals.push_back(evaluation.bands.back().residuals);
        }
        evaluation.gradient = Transposed(evaluation, residuals);
        for (std::size_t u = 0; u < unknowns.size(); ++u) {
            evaluation.cost += pull * (unknowns[u] - origin[u]).squaredNorm();
            evaluation.gradient[u] += pull * (unknowns[u] - origin[u]);
        }
        return evaluation;
    }

    // Row 0 is the level, 1 the pressure, 2 to 4 the velocity vector and 5 to 7 the energy vector in their
    // aims' axes, 8 and 9 the ears.
    Linear Linearise(const Band& band, const Eigen::MatrixXd& gains) const {
        const BandWishes& wishes = *band.wishes;
        Linear linear{Eigen::MatrixXd(band.residuals, values.rows()), {}};
        const double pressure = points.weights.dot(gains.rowwise().sum());
        for (Index i = 0; i < values.rows(); ++i) {
            const auto place = static_cast<std::size_t>(i);
            const Eigen::RowVectorXd g = gains.row(i);
            Eigen::MatrixXd slopes(band.residuals, gains.cols());
            Eigen::VectorXd residuals(band.residuals);
            const Eigen::RowVectorXd mixed = g * coherence;
            const double loudness = mixed.dot(g);
            residuals[0] = wishes.level * std::log(loudness);
            slopes.row(0) = wishes.level * 2 / loudness * mixed;
            residuals[1] = wishes.pressure * (g.sum() / pressure - 1);
            slopes.row(1).setConstant(wishes.pressure / pressure);
            const Direction velocity = places.transpose() * g.transpose() / g.sum();
            residuals.segment<3>(2) = band.velocity[place].axes * (velocity - band.velocity[place].vector);
            slopes.middleRows<3>(2) =
                band.velocity[place].axes * (places.transpose().colwise() - velocity) / g.sum();
            const double energy = g.squaredNorm();
            const Direction vector = places.transpose() * g.cwiseAbs2().transpose() / energy;
            residuals.segment<3>(5) = band.energy[place].axes * (vector - band.energy[place].vector);
            slopes.middleRows<3>(5) = band.energy[place].axes * (places.transpose().colwise() - vector) *
                                      (2 / energy * g).asDiagonal();
            if (!band.ears.empty()) AddEars(band, i, g, residuals, slopes);
            const double root = std::sqrt(points.weights[i]);
            linear.residuals.col(i) = root * residuals;
            linear.slopes.push_back(root * slopes);
        }
        return linear;
    }

    static void AddEars(const Band& band, Index i, const Eigen::RowVectorXd& g, Eigen::VectorXd& residuals,
                        Eigen::MatrixXd& slopes) {
        std::array<double, 2> levels{};
        std::array<Eigen::RowVectorXd, 2> turns;
        for (std::size_t ear = 0; ear < 2; ++ear) {
            const Eigen::RowVectorXd mixed = g * band.ears[ear].form;
            const double power = mixed.dot(g);
            levels[ear] = std::log(power / band.ears[ear].wanted[i]);
            turns[ear] = 2 / power * mixed;
        }
        const double weight = band.wishes->ears;
        residuals[8] = weight * (levels[0] - levels[1]);
        slopes.row(8) = weight * (turns[0] - turns[1]);
        residuals[9] = weight / 2 * (levels[0] + levels[1]);
        slopes.row(9) = weight / 2 * (turns[0] + turns[1]);
    }

    std::vector<Eigen::MatrixXd> Forward(const Evaluation& at, const Unknowns& change) const {
        std::vector<Eigen::MatrixXd> results;
        for (std::size_t b = 0; b < bands.size(); ++b) {
            const Eigen::MatrixXd gains = GainsOf(bands[b], change);
            Eigen::MatrixXd result(bands[b].residuals, values.rows());
            for (Index i = 0; i < values.rows(); ++i)
                result.col(i) = at.bands[b].slopes[static_cast<std::size_t>(i)] * gains.row(i).transpose();
            results.push_back(std::move(result));
        }
        return results;
    }

    Unknowns Transposed(const Evaluation& at, const std::vector<Eigen::MatrixXd>& residuals) const {
        Unknowns sum;
        sum.fill(Eigen::MatrixXd::Zero(places.rows(), values.cols()));
        for (std::size_t b = 0; b < bands.size(); ++b) {
            Eigen::MatrixXd gains(places.rows(), values.rows());
            for (Index i = 0; i < values.rows(); ++i)
                gains.col(i) =
                    at.bands[b].slopes[static_cast<std::size_t>(i)].transpose() * residuals[b].col(i);
            const Eigen::MatrixXd product = gains * values;
            for (std::size_t u = 0; u < sum.size(); ++u)
                sum[u] += bands[b].shares[u] * product;
        }
        return sum;
    }

    // What each function of a band's gains sees of the normal equations, on average: a matrix over speakers.
    std::array<Eigen::LLT<Eigen::MatrixXd>, 2> Preconditioner(const Evaluation& at, double damping) const {
        std::array<Eigen::LLT<Eigen::MatrixXd>, 2> result;
        for (std::size_t u = 0; u < result.size(); ++u) {
            Eigen::MatrixXd mean = Eigen::MatrixXd::Zero(places.rows(), places.rows());
            for (std::size_t b = 0; b < bands.size(); ++b)
                for (const Eigen::MatrixXd& slopes : at.bands[b].slopes)
                    mean += bands[b].shares[u] * bands[b].shares[u] * slopes.transpose() * slopes;
            mean.diagonal().array() += damping + 1e-9 * (1 + mean.trace());
            result[u].compute(mean);
        }
        return result;
    }

    static double Dot(const Unknowns& a, const Unknowns& b) {
        return a[0].cwiseProduct(b[0]).sum() + a[1].cwiseProduct(b[1]).sum();
    }

    // Solves (J'J + damping) step = gradient by preconditioned conjugate gradients (Hestenes and Stiefel
    // 1952).
    Unknowns Step(const Evaluation& at, double damping) const {
        const auto condition = Preconditioner(at, damping);
        const auto solved = [&](const Unknowns& r) {
            return Unknowns{condition[0].solve(r[0]), condition[1].solve(r[1])};
        };
        Unknowns step;
        step.fill(Eigen::MatrixXd::Zero(places.rows(), values.cols()));
        Unknowns rest = at.gradient, search = solved(rest);
        double product = Dot(rest, search);
        const double enough = product * 1e-4;
        for (int round = 0; round < stepRounds && product > enough; ++round) {
            Unknowns image = Transposed(at, Forward(at, search));
            for (std::size_t u = 0; u < image.size(); ++u)
                image[u] += damping * search[u];
            const double length = product / Dot(search, image);
            for (std::size_t u = 0; u < step.size(); ++u) {
                step[u] += length * search[u];
                rest[u] -= length * image[u];
            }
            const Unknowns turned = solved(rest);
            const double next = Dot(rest, turned);
            for (std::size_t u = 0; u < step.size(); ++u)
                search[u] = turned[u] + next / product * search[u];
            product = next;
        }
        return step;
    }
};

}  // namespace

BandDecoders FitBands(const FitProblem& problem, const BandDecoders& start) {
    return Fit(problem).Run(start);
}

}  // namespace design
