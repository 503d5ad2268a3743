#include "library/decodermatrix.h"

#include <Eigen/Cholesky>
#include <cmath>

#include "library/decoderoptimiser.h"
#include "library/fieldbasis.h"
#include "library/panning.h"

namespace design {
namespace {

using Eigen::Index;

// How far Basic is drawn to Energy, against errors of pressure and velocity.
constexpr double pull = 1e-3;

std::vector<Direction> OnHorizon(const SpeakerRing& speakers) {
    std::vector<Direction> directions = speakers.directions;
    for (Direction& direction : directions)
        if (speakers.isFlat) direction = DirectionAt(AzimuthOf(direction), 0);
    return directions;
}

class Designer {
public:
    Designer(const SpeakerRing& speakers, unsigned order)
        : directions(OnHorizon(speakers)),
          basis(order, speakers.isFlat),
          atSpeakers(basis.Values(directions)),
          panner(directions, speakers.isFlat),
          coherence(speakers.coherence) {}

    bool IsRegular() const {
        const Eigen::MatrixXd gram = atSpeakers.transpose() * atSpeakers / static_cast<double>(Count());
        return gram.isIdentity(1e-6);
    }

    Eigen::MatrixXd AllRound() const {
        const Quadrature points = basis.isFlat ? HorizonPoints(720) : GaussRings(60);
        const Eigen::MatrixXd values = points.weights.asDiagonal() * basis.Values(points.directions) *
                                       basis.MaxEnergyWeights().asDiagonal();
        Eigen::MatrixXd decoder = Eigen::MatrixXd::Zero(Count(), values.cols());
        for (Index i = 0; i < values.rows(); ++i)
            decoder += panner(points.directions[static_cast<std::size_t>(i)]).speakers * values.row(i);
        return decoder / std::sqrt(MeanEnergy(decoder));
    }

    Eigen::MatrixXd Energy() const {
        if (IsRegular()) return atSpeakers * basis.MaxEnergyWeights().asDiagonal();
        return OptimiseEnergyVectors(basis, directions, panner, coherence, AllRound());
    }

    Eigen::MatrixXd Basic(const Eigen::MatrixXd& energy) const {
        if (Count() == 1) return energy;
        if (IsRegular()) return atSpeakers;
        Eigen::MatrixXd sums(4, Count());  // pressure and velocity of a set of gains
        sums.row(0).setOnes();
        for (Index k = 0; k < Count(); ++k)
            sums.col(k).tail<3>() = directions[static_cast<std::size_t>(k)];
        const Eigen::MatrixXd near = energy / energy.col(0).sum();
        Eigen::MatrixXd normal = sums.transpose() * sums;
        normal.diagonal().array() += pull;
        return near + normal.llt().solve(sums.transpose() * (WantedSums() - sums * near));
    }

    const std::vector<Direction> directions;
    const FieldBasis basis;

private:
    const Eigen::MatrixXd atSpeakers;  // speakers by functions
    const Panner panner;
    const Eigen::MatrixXd coherence;

    Index Count() const { return atSpeakers.rows(); }

    // Pressure and velocity as functions of the source's direction.
    Eigen::MatrixXd WantedSums() const {
        const Quadrature points = basis.DesignPoints();
        const Eigen::MatrixXd values = points.weights.asDiagonal() * basis.Values(points.directions);
        Eigen::MatrixXd wanted = Eigen::MatrixXd::Zero(4, values.cols());
        for (Index i = 0; i < values.rows(); ++i) {
            Eigen::Vector4d sums;
            sums << 1, WantedVelocity(points.directions[static_cast<std::size_t>(i)]);
            wanted += sums * values.row(i);
        }
        return wanted;
    }

    Direction WantedVelocity(const Direction& direction) const {
        const Panner::Gains gains = panner(direction);
        if (!gains.isInGap) return direction;
        Direction sum = Direction::Zero();
        for (Index k = 0; k < Count(); ++k)
            sum += gains.speakers[k] * directions[static_cast<std::size_t>(k)];
        return sum / gains.speakers.sum();
    }

    // The functions have a mean square of 1.
    static double MeanEnergy(const Eigen::MatrixXd& decoder) { return decoder.squaredNorm(); }
};

}  // namespace

bool IsRegular(const SpeakerRing& speakers, unsigned order) {
    return Designer(speakers, order).IsRegular();
}

DecoderMatrices DesignDecoderMatrices(const SpeakerRing& speakers, unsigned order, SpeakerMethod method) {
    const Designer designer(speakers, order);
    if (method == SpeakerMethod::AllRound) {
        const Eigen::MatrixXd allRound = designer.basis.ToFsa(designer.AllRound(), true);
        return {allRound, allRound};
    }
    const Eigen::MatrixXd decoder = designer.Energy();
    const Eigen::MatrixXd energy = designer.basis.ToFsa(decoder, true);
    const Eigen::MatrixXd basic = designer.basis.ToFsa(designer.Basic(decoder), false);
    return {method == SpeakerMethod::Energy ? energy : basic,
            method == SpeakerMethod::Basic ? basic : energy};
}

}  // namespace design
