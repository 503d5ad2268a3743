#include "library/virtualspeakers.h"

#include <cmath>
#include <numbers>

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

}  // namespace

Transform EarsOfSpeakers(const HeadSpectra& head, const SpeakerLayout& layout) {
    if (head.directions.empty()) throw slib::BadParameterException("A head without directions has no ears.");
    Transform transform = EmptyRings(static_cast<std::uint32_t>(layout.speakers.size()), head.sampleRate);
    HeadFourier fourier(headTransformLength);
    for (std::uint32_t s = 0; s < transform.impulses.rows; ++s) {
        const RoomSpeaker& speaker = layout.speakers[s];
        for (const std::uint32_t ear : {0U, 1U}) {
            hcml::GenericVector<double, 1>& impulse = transform.impulses(s, ear);
            if (!speaker.IsDecoded()) {
                impulse[0] = std::sqrt(0.5);
                continue;
            }
            const Index place = NearestOf(head.directions, speaker.direction).index;
            Eigen::VectorXd ring = fourier.Signal(head.ears[ear].row(place).transpose());
            CutRing(ring);
            Eigen::Map<Eigen::VectorXd>(impulse.data, ring.size()) = ring;
        }
    }
    return transform;
}

double FrontalEnergyOfChain(const Transform& gains, const Transform& ears) {
    const auto order = static_cast<unsigned>(std::lround(std::sqrt(gains.impulses.rows))) - 1;
    const Eigen::MatrixXd wave = PlaneWaveMatrix({DirectionAt(0, 0)}, order);
    // The wave as the one channel of a field of order 0, whose value is the root of 4 pi.
    const double channel = std::sqrt(4 * std::numbers::pi);
    Transform whole = EmptyRings(1, ears.sampleRate);
    for (std::uint32_t s = 0; s < ears.impulses.rows; ++s) {
        double gain = 0;
        for (std::uint32_t i = 0; i < gains.impulses.rows; ++i)
            gain += wave(0, i) * gains.impulses(i, s)[0];
        for (const std::uint32_t ear : {0U, 1U})
            for (std::uint32_t n = 0; n < ears.Length(); ++n)
                whole.impulses(0, ear)[n] += gain / channel * ears.impulses(s, ear)[n];
    }
    return FrontalEnergy(whole);
}

}  // namespace design
