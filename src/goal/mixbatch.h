#pragma once

// Gathers the filtered blocks of sources with their weights in the spatial bus, and adds them to it as one
// matrix product, instead of one pass over the bus per source. Used by the renderer inside the block;
// allocates nothing after construction.

#include <array>
#include <cstdint>
#include <vector>

#include "goal/fx/sectionbatch.h"
#include "numeric/bus.h"
#include "numeric/floattuplevector.h"

namespace goal {

/// True when no sample of the row is infinite or not a number.
bool IsFiniteRow(const float* row, std::uint32_t frames);

/// Adds to a channel what a row's moving weight differs from `target`, which is added to it otherwise: from
/// `weight` on by `step` per sample, until it would reach the target. Returns the weight reached.
float AddMovingHead(const hcml::FloatTupleVector& row, float weight, float target, float step,
                    float* channel);

class MixBatch {
public:
    /// For blocks of `frames` and a bus of `channelCount` channels, 1 to 25. Throws
    /// slib::OutOfMemoryException.
    MixBatch(std::uint32_t frames, std::uint32_t channelCount);

    /// The row that the next source fills. With it come the sections that it may leave to run at Flush.
    hcml::FloatTupleVector& Row() { return rows[count]; }
    SectionBatch& Waiting() { return waiting; }

    /// Adds Row() to the bus with these weights, one per channel, at the latest at Flush. A row that holds a
    /// sample that isn't finite is left out, since no later stage would get rid of it.
    void Add(const float* weights, hcml::ac::Bus& bus);

    /// The same, where the weights may have moved since the block before: `previous`, updated to `weights`,
    /// moves toward them by `step` per sample. Only that head of the block is worked sample by sample.
    /// `previous` must stay where it is until the Flush.
    void AddMoving(const float* weights, float* previous, float step, hcml::ac::Bus& bus);

    /// Adds all rows gathered to the bus.
    void Flush(hcml::ac::Bus& bus);

private:
    static constexpr std::uint32_t capacity = 64;
    static constexpr std::uint32_t mostChannels = 25;

    // What the weights of a row were; null when they stand still.
    struct Movement {
        float* previous = nullptr;
        float step = 0;
    };

    void Settle(std::uint32_t row, hcml::ac::Bus& bus);

    const std::uint32_t frames;
    const std::uint32_t channelCount;
    std::vector<hcml::FloatTupleVector> rows;
    std::array<std::array<float, mostChannels>, capacity> coefficients{};
    std::array<Movement, capacity> movements{};
    SectionBatch waiting;
    std::uint32_t count = 0;
};

}  // namespace goal
