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

// Whether a fade has to begin.
bool WeightMover::IsJump(const PathWeights& path, const float* targets, std::uint32_t count) {
    if (path.isFading || path.isMoving) return false;
    float change = 0, greatest = 0;
    for (std::uint32_t c = 0; c < count; ++c) {
        change = std::max(change, std::fabs(targets[c] - path.coefficients[c]));
        greatest = std::max(greatest, std::max(std::fabs(targets[c]), std::fabs(path.coefficients[c])));
    }
    return change > greatestStep * greatest;
}

WeightMove WeightMover::Move(PathWeights& path, const float* targets, std::uint32_t count, bool jumps) const {
    WeightMove move;
    std::array<float, hcml::mostBusChannels>& now = path.coefficients;
    if (!path.coefficientsValid) {
        path = PathWeights();
        path.coefficientsValid = true;
        std::copy_n(targets, count, now.begin());
        return move;
    }
    if (std::equal(targets, targets + count, now.begin())) {
        path.isMoving = path.isFading = false;
        return move;
    }
    if (jumps || IsJump(path, targets, count)) {
        path.isFading = true;
        path.fadeBlock = 0;
    }
    path.isMoving = true;
    move.from = now;
    if (!path.isFading) {
        move.course = courses.Line();
        std::copy_n(targets, count, now.begin());
        return move;
    }
    const CoursePart part = courses.FadePart(path.fadeBlock++);
    move.course = part.course;
    path.isFading = part.share < 1;
    for (std::uint32_t c = 0; c < count; ++c)
        now[c] = part.share < 1 ? now[c] + part.share * (targets[c] - now[c]) : targets[c];
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
    if (move.course == courses.Line() && IsSlow(move.from.data(), to.data(), bus))
        batch.AddInSteps(move.from.data(), to.data(), bus);
    else
        batch.AddAlong(move.from.data(), to.data(), move.course, bus);
}

// Whether what steps add is 70 dB below the sound. A circle around the listener takes 5 s or more then, in a
// bus of order 4.
bool WeightMover::IsSlow(const float* from, const float* to, const hcml::ac::Bus& bus) {
    constexpr float mostPerFrame = 3.16e-4F / 4.61F;
    float change = 0, sum = 0;
    for (std::uint32_t c = 0; c < bus.channelCount; ++c) {
        change += (to[c] - from[c]) * (to[c] - from[c]);
        sum += from[c] * from[c] + to[c] * to[c];
    }
    const float most = mostPerFrame * static_cast<float>(bus.frames);
    return change <= 0.5F * most * most * sum;
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
