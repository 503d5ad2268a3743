#include "library/earrefinement.h"

#include <cmath>
#include <complex>
#include <utility>

#include "library/diffusefield.h"

namespace design {
namespace {

using Complex = std::complex<double>;
using Eigen::Index;

constexpr int steps = 3;                  // more change nothing in the first three digits
constexpr double interauralWeight = 1.2;  // of an error of the level difference to one of a level
constexpr double coherenceWeight = 20;
constexpr double quietestCounted = 0.3;  // of the root mean square: what is quieter isn't relative to itself
constexpr double nearness = 0.02;        // of the weight that an unknown has, for its way from the start
constexpr double tiny = 1e-12;

// Differences and sums of the ears' errors are orthogonal; those of differences count for both.
const double half = std::sqrt(0.5);
const double differenceShare = std::sqrt(0.5 + interauralWeight * interauralWeight);

double Power(const HeadSpectra& head, const Eigen::VectorXcd& values) {
    return head.areas.dot(values.cwiseAbs2()) + tiny;
}

Complex Coherence(const HeadSpectra& head, const Eigen::VectorXcd& left, const Eigen::VectorXcd& right) {
    const Eigen::VectorXcd areas = head.areas.cast<Complex>();
    return right.dot(areas.cwiseProduct(left)) / std::sqrt(Power(head, left) * Power(head, right));
}

}  // namespace

// The head in a bin.
struct EarRefinement::Goal {
    std::array<Eigen::ArrayXd, 2> levels;
    std::array<Eigen::ArrayXd, 2> weights;  // of an error
    Complex coherence;
};

// What filters come to.
struct EarRefinement::State {
    std::array<Eigen::VectorXcd, 2> ears;  // at the directions
    Eigen::VectorXd errors;                // sums, differences, coherence
};

EarRefinement::EarRefinement(const HeadSpectra& head, const Eigen::MatrixXd& waves,
                             const Eigen::VectorXd& mirror)
    : head(head),
      waves(waves),
      mirror(mirror),
      shares(head.areas.cwiseSqrt()),
      inputs{waves, head.symmetric ? (waves * mirror.asDiagonal()).eval() : waves},
      first{0, head.symmetric ? 0 : 2 * waves.cols()},
      unknownCount(first[1] + 2 * waves.cols()) {}

Eigen::VectorXd EarRefinement::Pack(const EarFilters& filters) const {
    const Index channels = waves.cols();
    Eigen::VectorXd unknowns(unknownCount);
    for (const std::size_t ear : {1U, 0U})
        unknowns.segment(first[ear], 2 * channels) << filters[ear].real(), filters[ear].imag();
    return unknowns;
}

EarFilters EarRefinement::Unpack(const Eigen::VectorXd& unknowns) const {
    const Index channels = waves.cols();
    EarFilters filters;
    for (const std::size_t ear : {0U, 1U}) {
        filters[ear].resize(channels);
        filters[ear].real() = unknowns.segment(first[ear], channels);
        filters[ear].imag() = unknowns.segment(first[ear] + channels, channels);
    }
    if (head.symmetric) filters[RightEar] = mirror.cwiseProduct(filters[LeftEar]);
    return filters;
}

EarRefinement::Goal EarRefinement::GoalOf(Index bin) const {
    Goal goal;
    for (const std::size_t ear : {0U, 1U}) {
        const Eigen::VectorXcd exact = head.ears[ear].col(bin);
        goal.levels[ear] = exact.array().abs();
        const double floor = quietestCounted * quietestCounted * Power(head, exact);
        goal.weights[ear] = shares.array() / (goal.levels[ear].square() + floor).sqrt();
    }
    goal.coherence = Coherence(head, head.ears[LeftEar].col(bin), head.ears[RightEar].col(bin));
    return goal;
}

EarRefinement::State EarRefinement::Evaluate(const Eigen::VectorXd& unknowns, const Goal& goal) const {
    const Index channels = waves.cols(), directions = waves.rows();
    State state;
    std::array<Eigen::VectorXd, 2> errors;
    for (const std::size_t ear : {0U, 1U}) {
        state.ears[ear].resize(directions);
        state.ears[ear].real() = inputs[ear] * unknowns.segment(first[ear], channels);
        state.ears[ear].imag() = inputs[ear] * unknowns.segment(first[ear] + channels, channels);
        errors[ear] = (state.ears[ear].array().abs() - goal.levels[ear]) * goal.weights[ear];
    }
    const Complex off = Coherence(head, state.ears[LeftEar], state.ears[RightEar]) - goal.coherence;
    state.errors.resize(2 * directions + 2);
    state.errors << half * (errors[0] + errors[1]), differenceShare * (errors[0] - errors[1]),
        coherenceWeight * off.real(), coherenceWeight * off.imag();
    return state;
}

// Of the errors by the unknowns: a level moves with the part of its value that is in phase.
Eigen::MatrixXd EarRefinement::Slopes(const State& state, const Goal& goal) const {
    const Index channels = waves.cols(), directions = waves.rows();
    Eigen::MatrixXd slopes = Eigen::MatrixXd::Zero(2 * directions + 2, unknownCount);
    for (const std::size_t ear : {0U, 1U}) {
        const Eigen::ArrayXcd phases = state.ears[ear].array() / (state.ears[ear].array().abs() + tiny);
        Eigen::MatrixXd own(directions, 2 * channels);
        own << (phases.real() * goal.weights[ear]).matrix().asDiagonal() * inputs[ear],
            (phases.imag() * goal.weights[ear]).matrix().asDiagonal() * inputs[ear];
        slopes.block(0, first[ear], directions, 2 * channels) += half * own;
        slopes.block(directions, first[ear], directions, 2 * channels) +=
            (ear == LeftEar ? 1 : -1) * differenceShare * own;
    }
    AddCoherence(state, slopes);
    return slopes;
}

// With X the sum of left times right conjugated, and A and B the powers: X / sqrt(A B).
void EarRefinement::AddCoherence(const State& state, Eigen::MatrixXd& slopes) const {
    const Index channels = waves.cols();
    const Eigen::VectorXcd areas = head.areas.cast<Complex>();
    const std::array<double, 2> powers{Power(head, state.ears[0]), Power(head, state.ears[1])};
    const double norm = 1 / std::sqrt(powers[0] * powers[1]);
    const Complex coherence = Coherence(head, state.ears[LeftEar], state.ears[RightEar]);
    Eigen::RowVectorXcd slope = Eigen::RowVectorXcd::Zero(unknownCount);
    for (const std::size_t ear : {0U, 1U}) {
        const bool isLeft = ear == LeftEar;
        const Eigen::VectorXcd other = isLeft ? state.ears[RightEar].conjugate().eval() : state.ears[LeftEar];
        const Eigen::MatrixXcd input = inputs[ear].transpose().cast<Complex>();
        const Eigen::VectorXcd product = norm * (input * areas.cwiseProduct(other));
        const Eigen::VectorXcd power = input * areas.cwiseProduct(state.ears[ear]) / powers[ear];
        slope.segment(first[ear], channels) += (product - coherence * power.real()).transpose();
        slope.segment(first[ear] + channels, channels) +=
            (Complex(0, isLeft ? 1 : -1) * product - coherence * power.imag()).transpose();
    }
    slopes.bottomRows(2).row(0) = coherenceWeight * slope.real();
    slopes.bottomRows(2).row(1) = coherenceWeight * slope.imag();
}

EarFilters EarRefinement::Refine(Index bin, const EarFilters& filters) const {
    const Goal goal = GoalOf(bin);
    const Eigen::VectorXd start = Pack(filters);
    Eigen::VectorXd unknowns = start;
    State state = Evaluate(unknowns, goal);
    double damping = 1e-3;
    for (int step = 0; step < steps; ++step) {
        const Eigen::MatrixXd slopes = Slopes(state, goal);
        Eigen::MatrixXd normal = Eigen::MatrixXd::Zero(unknownCount, unknownCount);
        normal.selfadjointView<Eigen::Lower>().rankUpdate(slopes.transpose());
        const double scale = normal.trace() / static_cast<double>(unknownCount);
        const Eigen::VectorXd way = slopes.transpose() * state.errors + nearness * scale * (unknowns - start);
        for (int attempt = 0; attempt < 4; ++attempt) {
            Eigen::MatrixXd damped = normal;
            damped.diagonal().array() += (damping + nearness) * scale;
            const Eigen::VectorXd next = unknowns - damped.selfadjointView<Eigen::Lower>().ldlt().solve(way);
            State reached = Evaluate(next, goal);
            if (reached.errors.squaredNorm() < state.errors.squaredNorm()) {
                unknowns = next;
                state = std::move(reached);
                damping *= 0.3;
                break;
            }
            damping = 10 * damping + 1e-4;
        }
    }
    return Unpack(unknowns);
}

}  // namespace design
