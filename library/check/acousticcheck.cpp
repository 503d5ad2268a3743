#include "library/check/acousticcheck.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>

#include "numeric/ambisonicorder.h"
#include "slib/exception.h"

namespace design {
namespace {

using Eigen::Index;
using std::numbers::pi;
using Transform = orb3::strans::TimeDomainTransform<double, 1>;

constexpr double speedOfSound = 346.4;

unsigned OrderOf(const Transform& transform) {
    for (unsigned order = 1; hcml::ChannelsOfOrder(order) <= transform.impulses.rows; ++order)
        if (hcml::ChannelsOfOrder(order) == transform.impulses.rows) return order;
    throw slib::BadParameterException(
        "The transform's inputs are not those of an order of the spatial format.");
}

// Inputs by outputs at one frequency; time zero is index 0 of the rings.
Eigen::MatrixXcd Response(const Transform& transform, double frequency) {
    const auto& impulses = transform.impulses;
    const std::int64_t length = transform.Length();
    const std::int64_t early = transform.start == 0 ? 0 : length - transform.start;
    Eigen::VectorXcd turns(transform.width);
    for (Index i = 0; i < turns.size(); ++i)
        turns[i] =
            std::polar(1.0, -2 * pi * frequency / transform.sampleRate * static_cast<double>(i - early));
    Eigen::MatrixXcd response = Eigen::MatrixXcd::Zero(impulses.rows, impulses.columns);
    for (Index r = 0; r < response.rows(); ++r)
        for (Index c = 0; c < response.cols(); ++c)
            for (Index i = 0; i < turns.size(); ++i) {
                const Index place = i < early ? transform.start + i : i - early;
                response(r, c) += turns[i] * impulses.data[r * response.cols() + c].data[place];
            }
    return response;
}

// What each output's gain turns into on its way, at one frequency, against the furthest speaker.
Eigen::VectorXcd Paths(const SpeakerLayout& layout, double frequency) {
    const double reference = layout.ReferenceDistance();
    Eigen::VectorXcd paths(static_cast<Index>(layout.speakers.size()));
    for (Index k = 0; k < paths.size(); ++k) {
        const double distance = layout.speakers[static_cast<std::size_t>(k)].distance;
        paths[k] =
            std::polar(reference / distance, 2 * pi * frequency * (reference - distance) / speedOfSound);
    }
    return paths;
}

// What a speaker's nearness makes of its velocity against its pressure, at one frequency; the real part
// counts.
Eigen::VectorXcd Nearness(const SpeakerLayout& layout, double frequency) {
    Eigen::VectorXcd nearness = Eigen::VectorXcd::Ones(static_cast<Index>(layout.speakers.size()));
    for (Index k = 0; k < nearness.size(); ++k) {
        const RoomSpeaker& speaker = layout.speakers[static_cast<std::size_t>(k)];
        const double turns = 2 * pi * frequency * speaker.distance / speedOfSound;
        if (speaker.hasDistance) nearness[k] += 1.0 / std::complex<double>(0, turns);
    }
    return nearness;
}

// A flat layout's speakers count as on the horizon, as they do in its design.
Eigen::MatrixX3d Places(const SpeakerLayout& layout) {
    const bool isFlat = layout.IsFlat();
    Eigen::MatrixX3d places(static_cast<Index>(layout.speakers.size()), 3);
    for (Index k = 0; k < places.rows(); ++k) {
        const Direction& direction = layout.speakers[static_cast<std::size_t>(k)].direction;
        places.row(k) = (isFlat ? DirectionAt(AzimuthOf(direction), 0) : direction).transpose();
    }
    return places;
}

// Sums over a band for one direction.
struct Totals {
    Eigen::VectorXd powers;
    Direction velocity = Direction::Zero();
};

double DegreesBetween(const Direction& vector, const Direction& direction) {
    return vector.norm() < 1e-12 ? 180 : AngleBetween(vector.normalized(), direction) * 180 / pi;
}

DirectionFigures FiguresOf(const Direction& direction, const Totals& totals, const Eigen::MatrixX3d& places,
                           int points) {
    const double energy = totals.powers.sum();
    const Direction vector = places.transpose() * totals.powers / energy, velocity = totals.velocity / points;
    return {direction,
            10 * std::log10(energy / points / (4 * pi)),
            velocity.norm(),
            DegreesBetween(velocity, direction),
            vector,
            vector.norm(),
            DegreesBetween(vector, direction),
            std::sqrt(totals.powers.maxCoeff() / points / (4 * pi))};
}

}  // namespace

std::vector<DirectionFigures> CheckDirections(const SpeakerLayout& layout, const Transform& transform,
                                              const FrequencyBand& band,
                                              const std::vector<Direction>& directions) {
    if (transform.impulses.columns != layout.speakers.size())
        throw slib::BadParameterException("The transform's outputs are not the layout's speakers.");
    const Eigen::MatrixX3d places = Places(layout);
    const Eigen::MatrixXd waves = PlaneWaveMatrix(directions, OrderOf(transform));
    std::vector<Totals> totals(directions.size(), {Eigen::VectorXd::Zero(places.rows())});
    for (int point = 0; point < band.points; ++point) {
        const double share = band.points == 1 ? 0 : point / (band.points - 1.0);
        const double frequency = band.low * std::pow(band.high / band.low, share);
        const Eigen::MatrixXcd gains =
            waves * Response(transform, frequency) * Paths(layout, frequency).asDiagonal();
        const Eigen::VectorXcd nearness = Nearness(layout, frequency);
        for (Index d = 0; d < gains.rows(); ++d) {
            Totals& total = totals[static_cast<std::size_t>(d)];
            total.powers += gains.row(d).cwiseAbs2().transpose();
            total.velocity +=
                (gains.row(d) * nearness.asDiagonal() * places / gains.row(d).sum()).real().transpose();
        }
    }
    std::vector<DirectionFigures> figures;
    for (std::size_t d = 0; d < directions.size(); ++d)
        figures.push_back(FiguresOf(directions[d], totals[d], places, band.points));
    return figures;
}

AcousticSummary Summarise(const std::vector<DirectionFigures>& figures) {
    AcousticSummary summary{1e9, -1e9, 1e9, 0, 0, 0, 0};
    const double count = static_cast<double>(figures.size());
    for (const DirectionFigures& figure : figures) {
        summary.leastLevel = std::min(summary.leastLevel, figure.level);
        summary.greatestLevel = std::max(summary.greatestLevel, figure.level);
        summary.leastLength = std::min(summary.leastLength, figure.energyLength);
        summary.meanLength += figure.energyLength / count;
        summary.greatestError = std::max(summary.greatestError, figure.energyError);
        summary.meanError += figure.energyError / count;
        summary.loudestSpeaker = std::max(summary.loudestSpeaker, figure.loudestSpeaker);
    }
    return summary;
}

std::vector<Direction> FrontDirections(double reach, unsigned count) {
    std::vector<Direction> directions;
    for (unsigned i = 0; i < count; ++i)
        directions.push_back(DirectionAt((2.0 * i / (count - 1) - 1) * reach * pi / 180, 0));
    return directions;
}

}  // namespace design
