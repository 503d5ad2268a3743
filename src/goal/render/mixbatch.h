#pragma once

// Gathers the filtered blocks of sources with their weights in a bus, the spatial one or the input of a slot,
// and adds them to it as one matrix product, instead of one pass over the bus per source. Used by the
// renderer inside the block; allocates nothing after construction.

#include <array>
#include <cstdint>
#include <vector>

#include "goal/dsp/sectionbatch.h"
#include "numeric/ambisonicorder.h"
#include "numeric/bus.h"
#include "numeric/floattuplevector.h"
#include "numeric/kernels/mixkernel.h"
#include "slib/realtime.h"

namespace goal {

/// Moves the weights of a row, one for each channel of the bus, toward `targets` by `step` per sample, until
/// they would reach them. Adds to each channel what its weight differs meanwhile from the target, which is
/// added to it otherwise. Leaves the weights reached.
void AddMovingHeads(const hcml::FloatTupleVector& row, float* weights, const float* targets, float step,
                    hcml::ac::Bus& bus);

class MixBatch {
public:
    /// The most rows that wait.
    static constexpr std::uint32_t mostRows = 64;

    /// For blocks of `frames` and a bus of `channelCount` channels, 1 to hcml::mostBusChannels. Holds
    /// `rowCount` rows, 1 to mostRows. Throws slib::OutOfMemoryException.
    MixBatch(std::uint32_t frames, std::uint32_t channelCount, std::uint32_t rowCount = mostRows);

    /// The row that the next source fills. With it come the sections that it may leave to run at Flush.
    hcml::FloatTupleVector& Row() { return rows[count]; }
    SectionBatch& Waiting() { return waiting; }

    /// Adds Row() to the bus with these weights, one per channel, at the latest at Flush. A row that holds a
    /// sample that isn't finite is left out, since no later stage would get rid of it.
    void Add(const float* weights, hcml::ac::Bus& bus) SLIB_NONBLOCKING;

    /// The same, where the weights may have moved since the block before: those of `path`, updated to
    /// `weights`, move toward them by `step` per sample, or take them at once when they aren't valid. Only
    /// that head of the block is worked sample by sample. `path` must stay where it is until the Flush.
    void AddMoving(const float* weights, SourceFilterState& path, float step,
                   hcml::ac::Bus& bus) SLIB_NONBLOCKING;

    /// The same, with weights that go from `from` to `to` along `course`: `from` + course[i] * (`to` -
    /// `from`) in frame i. That is two rows of the product. `course` has the frames of a block, in whole
    /// groups of four, and stays where it is until the Flush.
    void AddAlong(const float* from, const float* to, const float* course,
                  hcml::ac::Bus& bus) SLIB_NONBLOCKING;

    /// The same in a line over the block, in steps of hcml::framesPerStep frames. That costs little more than
    /// weights that stay, and is as far from the line as these go in 4.6 frames (the root of its mean
    /// square).
    void AddInSteps(const float* from, const float* to, hcml::ac::Bus& bus) SLIB_NONBLOCKING;

    /// Adds all rows gathered to the bus.
    void Flush(hcml::ac::Bus& bus) SLIB_NONBLOCKING;

private:
    // What else happens to a row at the Flush.
    struct Movement {
        float* previous = nullptr;       // weights that move to its targets sample by sample; null for none
        const float* targets = nullptr;  // of these
        float step = 0;
        const float* course = nullptr;  // the next row is this one along it; null for none
    };

    // Rows whose products have as many channels.
    template <std::uint32_t mostChannels>
    struct Group {
        std::array<const float*, mostRows + 1> rows;
        std::array<std::array<float, mostChannels>, mostRows + 1> coefficients{};
        std::uint32_t count = 0;

        float* Append(const float* row) {
            rows[count] = row;
            return coefficients[count++].data();
        }
    };

    float* Append(const Movement& movement);
    void Settle(std::uint32_t row, hcml::ac::Bus& bus);
    void FlushIfFull(hcml::ac::Bus& bus);

    const std::uint32_t frames;
    const std::uint32_t channelCount;
    const std::uint32_t rowCount;  // one more has room, for the last that goes along a course
    std::vector<hcml::FloatTupleVector> rows;
    std::array<Movement, mostRows + 1> movements{};
    SectionBatch waiting;
    std::uint32_t count = 0;
    Group<hcml::mostBusChannels> steady;
    Group<2 * hcml::gainsPerRow> inSteps;  // weights of the first step, and then what they change in each
};

}  // namespace goal
