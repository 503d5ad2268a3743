#include "goal/render/mixbatch.h"

#include <algorithm>
#include <utility>

#include "numeric/kernels/finitekernel.h"
#include "numeric/kernels/gainkernel.h"

namespace goal {
namespace {

float AddMovingHead(const hcml::FloatTupleVector& row, float weight, float target, float step,
                    float* channel) {
    const float move = weight < target ? step : -step;
    for (std::uint32_t i = 0; i < row.size; ++i) {
        weight += move;
        if (move > 0 ? weight >= target : weight <= target) return target;
        channel[i] += (weight - target) * row.data[i];
    }
    return weight;
}

// Whether each weight reaches its target with the first step, as nearly all do, or is there. Of the two
// comparisons the one away from the target always holds, so that the sign of the move needs no branch.
bool ReachAtOnce(const float* weights, const float* targets, float step, std::uint32_t count) {
    std::uint32_t left = 0;
    for (std::uint32_t c = 0; c < count; ++c) {
        const std::uint32_t fromBelow = weights[c] + step >= targets[c] ? 1 : 0;
        const std::uint32_t fromAbove = weights[c] - step <= targets[c] ? 1 : 0;
        left |= 1 ^ (fromBelow & fromAbove);
    }
    return left == 0;
}

}  // namespace

void AddMovingHeads(const hcml::FloatTupleVector& row, float* weights, const float* targets, float step,
                    hcml::ac::Bus& bus) {
    if (ReachAtOnce(weights, targets, step, bus.channelCount)) {
        std::copy_n(targets, bus.channelCount, weights);
        return;
    }
    for (std::uint32_t c = 0; c < bus.channelCount; ++c)
        if (weights[c] != targets[c])
            weights[c] = AddMovingHead(row, weights[c], targets[c], step, bus.channels[c]);
}

MixBatch::MixBatch(std::uint32_t frames, std::uint32_t channelCount, std::uint32_t rowCount)
    : frames(frames), channelCount(channelCount), rowCount(rowCount), rows(rowCount + 1), waiting(frames) {
    for (hcml::FloatTupleVector& row : rows)
        row.resize(frames);
}

void MixBatch::Add(const float* weights, hcml::ac::Bus& bus) {
    std::copy_n(weights, channelCount, Append({}));
    FlushIfFull(bus);
}

void MixBatch::AddMoving(const float* weights, SourceFilterState& path, float step, hcml::ac::Bus& bus) {
    if (!std::exchange(path.coefficientsValid, true))
        std::copy_n(weights, channelCount, path.coefficients.begin());
    float* const targets = Append({.previous = path.coefficients.data(), .step = step});
    std::copy_n(weights, channelCount, targets);
    movements[count - 1].targets = targets;
    FlushIfFull(bus);
}

void MixBatch::AddAlong(const float* from, const float* to, const float* course, hcml::ac::Bus& bus) {
    std::copy_n(from, channelCount, Append({.course = course}));
    float* const way = Append({});
    for (std::uint32_t c = 0; c < channelCount; ++c)
        way[c] = to[c] - from[c];
    FlushIfFull(bus);
}

void MixBatch::AddInSteps(const float* from, const float* to, hcml::ac::Bus& bus) {
    // Of the way, in a step, and to the middle of the first one, which is there in the line after its frame.
    const float step = hcml::framesPerStep / static_cast<float>(frames);
    const float begin = (hcml::framesPerStep + 1) / (2 * static_cast<float>(frames));
    movements[count] = {};
    float* const weights = inSteps.Append(rows[count++].data);
    for (std::uint32_t c = 0; c < channelCount; ++c) {
        const float way = to[c] - from[c];
        weights[c] = from[c] + begin * way;
        weights[hcml::gainsPerRow + c] = step * way;
    }
    FlushIfFull(bus);
}

// The row's weights are to be written to the result.
float* MixBatch::Append(const Movement& movement) {
    movements[count] = movement;
    return steady.Append(rows[count++].data);
}

void MixBatch::FlushIfFull(hcml::ac::Bus& bus) {
    if (count >= rowCount) Flush(bus);
}

// A row that can't be mixed becomes one that adds nothing.
void MixBatch::Settle(std::uint32_t row, hcml::ac::Bus& bus) {
    const Movement& movement = movements[row];
    const bool isFinite = hcml::IsFiniteRow(rows[row].data, frames);
    if (!isFinite) rows[row].clear();
    if (movement.course != nullptr)
        hcml::MultiplyRows(rows[row + 1].data, rows[row].data, movement.course, rows[row].tuples);
    else if (movement.previous != nullptr && isFinite)
        AddMovingHeads(rows[row], movement.previous, movement.targets, movement.step, bus);
}

void MixBatch::Flush(hcml::ac::Bus& bus) {
    waiting.Run();
    for (std::uint32_t row = 0; row < count; row += movements[row].course != nullptr ? 2 : 1)
        Settle(row, bus);
    count = 0;
    const auto take = [&](auto& group) {
        return hcml::Mix{.channels = bus.channels,
                         .channelCount = channelCount,
                         .sources = group.rows.data(),
                         .sourceCount = std::exchange(group.count, 0),
                         .coefficients = group.coefficients.front().data(),
                         .coefficientStride = static_cast<std::uint32_t>(group.coefficients.front().size()),
                         .vectors = bus.vectors};
    };
    if (steady.count > 0) hcml::MixSources(take(steady));
    if (inSteps.count > 0)
        hcml::MixMovingSources(take(inSteps), inSteps.coefficients.front().data() + hcml::gainsPerRow);
}

}  // namespace goal
