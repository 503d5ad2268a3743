#include "library/roompreview.h"

#include <Eigen/Core>
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <string>

#include "library/decodermatrix.h"
#include "library/libraryassembly.h"
#include "library/sphericalbasis.h"
#include "slib/exception.h"

namespace design {
namespace {

using Eigen::Index;

constexpr double degree = std::numbers::pi / 180;

SpeakerRing RingOf(const SpeakerLayout& room) {
    SpeakerRing ring;
    for (const std::size_t i : room.DecodedSpeakers())
        ring.directions.push_back(room.speakers[i].direction);
    ring.isFlat = room.IsFlat();
    return ring;
}

// Energy and energy vector of what the speakers play, for each of the sources.
std::vector<PreviewPoint> Judge(const Eigen::MatrixXd& decoder, const SpeakerRing& ring,
                                const std::vector<Direction>& sources, unsigned step) {
    const Eigen::MatrixXd energies =
        (FsaMatrix(sources, static_cast<unsigned>(std::lround(std::sqrt(decoder.cols()))) - 1) *
         decoder.transpose())
            .array()
            .square();
    std::vector<PreviewPoint> points;
    for (Index i = 0; i < energies.rows(); ++i) {
        Direction sum = Direction::Zero();
        for (Index k = 0; k < energies.cols(); ++k)
            sum += energies(i, k) * ring.directions[static_cast<std::size_t>(k)];
        const double energy = energies.row(i).sum(), length = sum.norm();
        const double error =
            length > 0 ? AngleBetween(sum / length, sources[static_cast<std::size_t>(i)]) : 0;
        points.push_back(
            {static_cast<double>(i) * step, energy, energy > 0 ? length / energy : 0, error / degree});
    }
    return points;
}

void ToDecibels(std::vector<PreviewPoint>& points, double mean) {
    constexpr double least = 1e-9;  // of the mean
    for (PreviewPoint& point : points)
        point.level = 10 * std::log10(std::max(point.level / mean, least));
}

}  // namespace

RoomPreview PreviewRoom(const SpeakerLayout& room, unsigned order, unsigned step) {
    if (order < 1 || order > greatestOrder)
        throw slib::BadParameterException("The order of a preview must be 1 to 4, not " +
                                          std::to_string(order) + ".");
    const SpeakerRing ring = RingOf(room);
    if (ring.directions.empty())
        throw slib::BadParameterException("A room must have a speaker that isn't a sub-woofer.");
    std::vector<Direction> horizon, median;
    for (unsigned angle = 0; angle < 360; angle += step) {
        horizon.push_back(DirectionAt(angle * degree, 0));
        median.emplace_back(std::cos(angle * degree), 0, std::sin(angle * degree));
    }
    const Eigen::MatrixXd decoder = DesignQuickMatrix(ring, order);
    RoomPreview preview{Judge(decoder, ring, horizon, step), Judge(decoder, ring, median, step)};
    double mean = 0;
    for (const PreviewPoint& point : preview.horizontal)
        mean += point.level / static_cast<double>(preview.horizontal.size());
    ToDecibels(preview.horizontal, mean);
    ToDecibels(preview.vertical, mean);
    return preview;
}

}  // namespace design
