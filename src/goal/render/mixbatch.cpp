#include "goal/render/mixbatch.h"

#include <algorithm>
#include <utility>

#include "numeric/kernels/finitekernel.h"
#include "numeric/kernels/gainkernel.h"
#include "numeric/kernels/mixkernel.h"

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
    Append(weights, {});
    if (count >= rowCount) Flush(bus);
}

void MixBatch::AddMoving(const float* weights, SourceFilterState& path, float step, hcml::ac::Bus& bus) {
    if (!std::exchange(path.coefficientsValid, true))
        std::copy_n(weights, channelCount, path.coefficients.begin());
    Append(weights, {.previous = path.coefficients.data(), .step = step});
    if (count >= rowCount) Flush(bus);
}

void MixBatch::AddAlong(const float* from, const float* to, const float* course, hcml::ac::Bus& bus) {
    Append(from, {.course = course});
    std::array<float, hcml::mostBusChannels> way;
    for (std::uint32_t c = 0; c < channelCount; ++c)
        way[c] = to[c] - from[c];
    Append(way.data(), {});
    if (count >= rowCount) Flush(bus);
}

void MixBatch::Append(const float* weights, Movement movement) {
    std::copy_n(weights, channelCount, coefficients[count].begin());
    movements[count] = movement;
    ++count;
}

// A row that can't be mixed becomes one that adds nothing.
void MixBatch::Settle(std::uint32_t row, hcml::ac::Bus& bus) {
    const auto [previous, step, course] = movements[row];
    const bool isFinite = hcml::IsFiniteRow(rows[row].data, frames);
    if (!isFinite) rows[row].clear();
    if (course != nullptr)
        hcml::MultiplyRows(rows[row + 1].data, rows[row].data, course, rows[row].tuples);
    else if (previous != nullptr && isFinite)
        AddMovingHeads(rows[row], previous, coefficients[row].data(), step, bus);
}

void MixBatch::Flush(hcml::ac::Bus& bus) {
    waiting.Run();
    for (std::uint32_t row = 0; row < count; row += movements[row].course != nullptr ? 2 : 1)
        Settle(row, bus);
    std::array<const float*, mostRows + 1> sources{};
    for (std::uint32_t s = 0; s < count; ++s)
        sources[s] = rows[s].data;
    hcml::MixSources({.channels = bus.channels,
                      .channelCount = channelCount,
                      .sources = sources.data(),
                      .sourceCount = count,
                      .coefficients = coefficients.front().data(),
                      .coefficientStride = hcml::mostBusChannels,
                      .vectors = bus.vectors});
    count = 0;
}

}  // namespace goal
