#include "goal/mixbatch.h"

#include <algorithm>
#include <bit>

#include "numeric/kernels/mixkernel.h"

namespace goal {

bool IsFiniteRow(const float* row, std::uint32_t frames) {
    constexpr std::uint32_t exponent = 0x7F800000;
    std::uint32_t unfit = 0;
    for (std::uint32_t i = 0; i < frames; ++i)
        unfit |= (std::bit_cast<std::uint32_t>(row[i]) & exponent) == exponent ? 1U : 0U;
    return unfit == 0;
}

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

MixBatch::MixBatch(std::uint32_t frames, std::uint32_t channelCount)
    : frames(frames), channelCount(channelCount), rows(capacity), waiting(frames) {
    for (hcml::FloatTupleVector& row : rows)
        row.resize(frames);
}

void MixBatch::Add(const float* weights, hcml::ac::Bus& bus) {
    AddMoving(weights, nullptr, 0, bus);
}

void MixBatch::AddMoving(const float* weights, float* previous, float step, hcml::ac::Bus& bus) {
    std::copy_n(weights, channelCount, coefficients[count].begin());
    movements[count] = {previous, step};
    if (++count == capacity) Flush(bus);
}

// A row that can't be mixed becomes one that adds nothing.
void MixBatch::Settle(std::uint32_t row, hcml::ac::Bus& bus) {
    if (!IsFiniteRow(rows[row].data, frames)) {
        rows[row].clear();
        return;
    }
    const auto [previous, step] = movements[row];
    if (previous == nullptr) return;
    for (std::uint32_t c = 0; c < channelCount; ++c)
        if (previous[c] != coefficients[row][c])
            previous[c] = AddMovingHead(rows[row], previous[c], coefficients[row][c], step, bus.channels[c]);
}

void MixBatch::Flush(hcml::ac::Bus& bus) {
    waiting.Run();
    for (std::uint32_t row = 0; row < count; ++row)
        Settle(row, bus);
    std::array<const float*, capacity> sources{};
    for (std::uint32_t s = 0; s < count; ++s)
        sources[s] = rows[s].data;
    hcml::MixSources({.channels = bus.channels,
                      .channelCount = channelCount,
                      .sources = sources.data(),
                      .sourceCount = count,
                      .coefficients = coefficients.front().data(),
                      .coefficientStride = mostChannels,
                      .vectors = bus.vectors});
    count = 0;
}

}  // namespace goal
