#include "goal/render/weightmover.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "numeric/kernels/gainkernel.h"

namespace goal {
namespace {

// Of the greatest weight, what those that stood may move in a line without a click.
constexpr float greatestStep = 0.15F;

}  // namespace

WeightMove WeightMover::Move(PathWeights& path, const float* targets, std::uint32_t count, bool jumps) const {
    WeightMove move;
    std::array<float, hcml::mostBusChannels>& now = path.coefficients;
    if (!path.coefficientsValid) {
        path = PathWeights();
        path.coefficientsValid = true;
        std::copy_n(targets, count, now.begin());
        return move;
    }
    float change = 0, greatest = 0;
    for (std::uint32_t c = 0; c < count; ++c) {
        change = std::max(change, std::fabs(targets[c] - now[c]));
        greatest = std::max(greatest, std::max(std::fabs(targets[c]), std::fabs(now[c])));
    }
    if (change > 0 && (jumps || (!path.isFading && !path.isMoving && change > greatestStep * greatest))) {
        path.isFading = true;
        path.fadeBlock = 0;
    }
    path.isMoving = change > 0;
    if (change == 0) {
        path.isFading = false;
        return move;
    }
    const CoursePart part = path.isFading ? courses.FadePart(path.fadeBlock) : courses.Line();
    move.from = now;
    move.course = part.course;
    if (part.share == 1) {
        std::copy_n(targets, count, now.begin());
        path.isFading = false;
        return move;
    }
    for (std::uint32_t c = 0; c < count; ++c)
        now[c] += part.share * (targets[c] - now[c]);
    ++path.fadeBlock;
    return move;
}

void WeightMover::Add(PathWeights& path, const float* targets, bool jumps, float scale, MixBatch& batch,
                      hcml::ac::Bus& bus) const {
    WeightMove move = Move(path, targets, bus.channelCount, jumps);
    std::array<float, hcml::mostBusChannels> to;
    for (std::uint32_t c = 0; c < bus.channelCount; ++c)
        to[c] = path.coefficients[c] * scale;
    if (move.course == nullptr) return batch.Add(to.data(), bus);
    for (std::uint32_t c = 0; c < bus.channelCount; ++c)
        move.from[c] *= scale;
    batch.AddAlong(move.from.data(), to.data(), move.course, bus);
}

void ApplyAlong(float* row, float from, float to, const float* course, std::uint32_t vectors) {
    if (course == nullptr) {
        if (to != 1) hcml::MultiplyRow(row, row, to, vectors);
        return;
    }
    const float way = to - from;
    for (std::size_t i = 0; i < std::size_t{vectors} * 4; ++i)
        row[i] *= from + course[i] * way;
}

}  // namespace goal
