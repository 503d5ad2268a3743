#include "library/decodermatrix.h"

#include <Eigen/Cholesky>
#include <cmath>
#include <numbers>

#include "library/decoderfit.h"
#include "library/fieldbasis.h"
#include "library/pairdecoder.h"
#include "library/panning.h"

namespace design {
namespace {

using Eigen::Index;

constexpr double speedOfSound = 346.4;  // metres a second, as the acoustic models have it

// How far Basic is drawn to Energy, against errors of pressure and velocity.
constexpr double pull = 1e-3;

// Two speakers further apart aren't heard as a pair.
constexpr double widestPair = 170 * std::numbers::pi / 180;

std::vector<Direction> OnHorizon(const SpeakerRing& speakers) {
    std::vector<Direction> directions = speakers.directions;
    for (Direction& direction : directions)
        if (speakers.isFlat) direction = DirectionAt(AzimuthOf(direction), 0);
    return directions;
}

// At these weights, layouts of 5 and 7 keep the level within 0.2 dB, give up a tenth of the length of energy
// vectors for directions right to 5 degrees, and in the gap of 140 degrees of one of them a third of that of
// the velocity vectors.
BandWishes HighBand(double crossover) {
    return {.level = 2,
            .energy = 1.5,
            .energyLength = 0.5,
            .ears = 0.05,
            .earFrequencies = {2 * crossover, 4 * crossover, 8 * crossover}};
}

std::vector<BandWishes> Bands(double crossover) {
    const BandWishes low{.lowShare = 1,
                         .level = 2,
                         .pressure = 2,
                         .velocity = 2,
                         .velocityLength = 0.4,
                         .energy = 2,
                         .energyLength = 0.2,
                         .ears = 0.1,
                         .earFrequencies = {crossover / 8, crossover / 4, crossover / 2}};
    const BandWishes middle{.lowShare = 0.5,
                            .level = 2,
                            .pressure = 0.3,
                            .velocity = 0.5,
                            .velocityLength = 0.1,
                            .energy = 1.5,
                            .energyLength = 0.3,
                            .ears = 0.1,
                            .earFrequencies = {0.75 * crossover, crossover, 1.4 * crossover}};
    return {low, middle, HighBand(crossover)};
}

bool IsPair(const SpeakerRing& speakers) {
    return speakers.directions.size() == 2 &&
           AngleBetween(speakers.directions[0], speakers.directions[1]) < widestPair;
}

// The speakers' shares of a panned source, taken to the order, with all energies alike on average.
Eigen::MatrixXd AllRound(const FieldBasis& basis, const Panner& panner, Index speakers,
                         const Quadrature& points) {
    const Eigen::MatrixXd values =
        points.weights.asDiagonal() * basis.Values(points.directions) * basis.MaxEnergyWeights().asDiagonal();
    Eigen::MatrixXd decoder = Eigen::MatrixXd::Zero(speakers, values.cols());
    for (Index i = 0; i < values.rows(); ++i)
        decoder += panner(points.directions[static_cast<std::size_t>(i)]).speakers * values.row(i);
    return decoder / std::sqrt(decoder.squaredNorm());  // the functions have a mean square of 1
}

// For the spatial format.
Eigen::MatrixXd PairMatrix(const SpeakerRing& speakers, unsigned order) {
    const Eigen::MatrixXd decoder = DesignPairDecoder(speakers.directions[0], speakers.directions[1], order);
    return FieldBasis(order, false).ToFsa(decoder, true);
}

class Designer {
public:
    Designer(const SpeakerRing& ring, unsigned order)
        : speakers(ring),
          directions(OnHorizon(ring)),
          basis(order, ring.isFlat),
          atSpeakers(basis.Values(directions)),
          panner(directions, ring.isFlat),
          crossover(CrossoverFrequency(CarriedOrder(ring, order))),
          isRegular(IsRegular(ring, order)),
          allRound(AllRound(basis, panner, Count(), basis.isFlat ? HorizonPoints(720) : GaussRings(60))),
          energy(Energy()) {}

    DecoderMatrices Design(SpeakerMethod method) const {
        const auto same = [this](const Eigen::MatrixXd& fsa) { return DecoderMatrices{fsa, fsa, crossover}; };
        const bool isOfPairs = method == SpeakerMethod::Energy || method == SpeakerMethod::DualBand;
        if (isOfPairs && IsPair(speakers)) return same(PairMatrix(speakers, basis.order));
        switch (method) {
            case SpeakerMethod::AllRound:
                return same(basis.ToFsa(allRound, true));
            case SpeakerMethod::Basic:
                return same(basis.ToFsa(Basic(), false));
            case SpeakerMethod::Energy:
                return same(basis.ToFsa(energy, true));
            case SpeakerMethod::DualBand:
                break;
        }
        const BandDecoders bands = DualBand();
        // Where a flat decoder fades with the height, it keeps the sum of amplitudes below, and the energy
        // above.
        return {basis.ToFsa(bands.low, false), basis.ToFsa(bands.high, true), crossover};
    }

private:
    const SpeakerRing& speakers;
    const std::vector<Direction> directions;
    const FieldBasis basis;
    const Eigen::MatrixXd atSpeakers;  // speakers by functions
    const Panner panner;
    const double crossover;  // Hz
    const bool isRegular;
    const Eigen::MatrixXd allRound, energy;  // speakers by functions

    Index Count() const { return atSpeakers.rows(); }

    BandDecoders Fitted(const std::vector<BandWishes>& bands, const BandDecoders& start) const {
        return FitBands({basis, directions, panner, speakers.coherence, bands}, start);
    }

    Eigen::MatrixXd Energy() const {
        if (isRegular) return atSpeakers * basis.MaxEnergyWeights().asDiagonal();
        return Fitted({HighBand(crossover)}, {allRound, allRound}).high;
    }

    BandDecoders DualBand() const {
        const bool isMixed = speakers.coherence.size() > 0;
        if (isMixed) return {energy, energy};
        if (isRegular || Count() == 1) return {Basic(), energy};
        return Fitted(Bands(crossover), {Basic(), energy});
    }

    Eigen::MatrixXd Basic() const {
        if (Count() == 1) return energy;
        if (isRegular) return atSpeakers;
        Eigen::MatrixXd sums(4, Count());  // pressure and velocity of a set of gains
        sums.row(0).setOnes();
        for (Index k = 0; k < Count(); ++k)
            sums.col(k).tail<3>() = directions[static_cast<std::size_t>(k)];
        const Eigen::MatrixXd near = energy / energy.col(0).sum();
        Eigen::MatrixXd normal = sums.transpose() * sums;
        normal.diagonal().array() += pull;
        return near + normal.llt().solve(sums.transpose() * (WantedSums() - sums * near));
    }

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
};

}  // namespace

bool IsRegular(const SpeakerRing& speakers, unsigned order) {
    const Eigen::MatrixXd values = FieldBasis(order, speakers.isFlat).Values(OnHorizon(speakers));
    const Eigen::MatrixXd gram = values.transpose() * values / static_cast<double>(values.rows());
    return gram.isIdentity(1e-6);
}

unsigned CarriedOrder(const SpeakerRing& speakers, unsigned order) {
    unsigned carried = 1;
    while (carried < order && IsRegular(speakers, carried + 1))
        ++carried;
    return carried;
}

double CrossoverFrequency(unsigned order, double radius) {
    return order * speedOfSound / (2 * std::numbers::pi * radius);
}

std::vector<DecoderMatrices> DesignDecoderMatrices(const SpeakerRing& speakers, unsigned order,
                                                   const std::vector<SpeakerMethod>& methods) {
    const Designer designer(speakers, order);
    std::vector<DecoderMatrices> matrices;
    matrices.reserve(methods.size());
    for (const SpeakerMethod method : methods)
        matrices.push_back(designer.Design(method));
    return matrices;
}

Eigen::MatrixXd DesignQuickMatrix(const SpeakerRing& speakers, unsigned order) {
    if (IsPair(speakers)) return PairMatrix(speakers, order);
    const std::vector<Direction> directions = OnHorizon(speakers);
    const FieldBasis basis(order, speakers.isFlat);
    const auto design = [&]() -> Eigen::MatrixXd {
        if (IsRegular(speakers, order))
            return basis.Values(directions) * basis.MaxEnergyWeights().asDiagonal();
        return AllRound(basis, Panner(directions, basis.isFlat), static_cast<Index>(directions.size()),
                        basis.isFlat ? HorizonPoints(180) : GaussRings(24));
    };
    return basis.ToFsa(design(), true, true);
}

}  // namespace design
