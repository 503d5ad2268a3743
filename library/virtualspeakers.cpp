#include "library/virtualspeakers.h"

#include <cmath>
#include <numbers>
#include <vector>

#include "library/diffusefield.h"
#include "library/headcoverage.h"
#include "library/headdecoder.h"
#include "library/headfourier.h"
#include "slib/exception.h"

namespace design {
namespace {

using Eigen::Index;
using Transform = orb3::strans::TimeDomainTransform<double, 1>;

constexpr Index before = 64;  // samples of a response before time zero
constexpr Index width = 512;  // samples of a response
constexpr Index fade = 32;    // samples at either end

// Keeps `width` samples around time zero of a ring, and fades them in and out.
void CutRing(Eigen::VectorXd& ring) {
    const Index length = ring.size();
    ring.segment(width - before, length - width).setZero();
    for (Index i = 0; i < fade; ++i) {
        const double x = (static_cast<double>(i) + 0.5) / fade;
        const double gain = 0.5 - 0.5 * std::cos(std::numbers::pi * x);
        ring[length - before + i] *= gain;
        ring[width - before - 1 - i] *= gain;
    }
}

Transform EmptyRings(std::uint32_t inputs, double sampleRate) {
    Transform transform;
    transform.sampleRate = sampleRate;
    transform.start = static_cast<std::uint32_t>(headTransformLength - before);
    transform.width = static_cast<std::uint32_t>(width);
    transform.impulses = decltype(transform.impulses)(inputs, 2);
    hcml::GenericVector<double, 1> silence(static_cast<std::uint32_t>(headTransformLength));
    silence.fill(0);
    transform.impulses.fill(silence);
    return transform;
}

// Directions by speakers.
Eigen::MatrixXd SignalsOf(const Transform& gains, const std::vector<Direction>& directions) {
    const auto order = static_cast<unsigned>(std::lround(std::sqrt(gains.impulses.rows))) - 1;
    Eigen::MatrixXd matrix(gains.impulses.rows, gains.impulses.columns);
    for (Index channel = 0; channel < matrix.rows(); ++channel)
        for (Index speaker = 0; speaker < matrix.cols(); ++speaker)
            matrix(channel, speaker) =
                gains.impulses(static_cast<std::uint32_t>(channel), static_cast<std::uint32_t>(speaker))[0];
    return PlaneWaveMatrix(directions, order) * matrix;
}

// What takes the colour out of a diffuse field that is decoded and heard by way of speakers at these places
// of the head's directions, -1 for a sub-woofer.
Eigen::VectorXcd Equaliser(const HeadSpectra& head, const std::vector<Index>& places,
                           const Transform& gains) {
    const Eigen::MatrixXd signals = SignalsOf(gains, SpiralPoints(400).directions);
    Eigen::VectorXd power = Eigen::VectorXd::Zero(head.Bins());
    for (const Eigen::MatrixXcd& ear : head.ears) {
        Eigen::MatrixXcd speakers = Eigen::MatrixXcd::Zero(signals.cols(), head.Bins());
        for (Index s = 0; s < speakers.rows(); ++s)
            if (places[static_cast<std::size_t>(s)] >= 0)
                speakers.row(s) = ear.row(places[static_cast<std::size_t>(s)]);
        power += (signals * speakers).cwiseAbs2().colwise().mean().transpose() / 2;
    }
    return DiffuseEqualiser(power / power.mean(), head.BinWidth(), head.sampleRate / 2);
}

}  // namespace

Transform EarsOfSpeakers(const HeadSpectra& head, const SpeakerLayout& layout, const Transform& gains) {
    if (head.directions.empty()) throw slib::BadParameterException("A head without directions has no ears.");
    Transform transform = EmptyRings(static_cast<std::uint32_t>(layout.speakers.size()), head.sampleRate);
    HeadFourier fourier(headTransformLength);
    std::vector<Index> places;
    places.reserve(layout.speakers.size());
    for (const RoomSpeaker& speaker : layout.speakers)
        places.push_back(speaker.IsDecoded() ? NearestOf(head.directions, speaker.direction).index : -1);
    const Eigen::VectorXcd equaliser = Equaliser(head, places, gains);
    for (std::uint32_t s = 0; s < transform.impulses.rows; ++s) {
        const Index place = places[s];
        for (const std::uint32_t ear : {0U, 1U}) {
            hcml::GenericVector<double, 1>& impulse = transform.impulses(s, ear);
            if (place < 0) {
                impulse[0] = std::sqrt(0.5);
                continue;
            }
            Eigen::VectorXd ring =
                fourier.Signal(head.ears[ear].row(place).transpose().cwiseProduct(equaliser));
            CutRing(ring);
            Eigen::Map<Eigen::VectorXd>(impulse.data, ring.size()) = ring;
        }
    }
    return transform;
}

double FrontalEnergyOfChain(const Transform& gains, const Transform& ears) {
    const Eigen::MatrixXd ahead = SignalsOf(gains, {DirectionAt(0, 0)});
    // The wave as the one channel of a field of order 0, whose value is the root of 4 pi.
    const double channel = std::sqrt(4 * std::numbers::pi);
    Transform whole = EmptyRings(1, ears.sampleRate);
    for (std::uint32_t s = 0; s < ears.impulses.rows; ++s) {
        const double gain = ahead(0, s);
        for (const std::uint32_t ear : {0U, 1U})
            for (std::uint32_t n = 0; n < ears.Length(); ++n)
                whole.impulses(0, ear)[n] += gain / channel * ears.impulses(s, ear)[n];
    }
    return FrontalEnergy(whole);
}

}  // namespace design
