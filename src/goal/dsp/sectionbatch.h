#pragma once

// The first-order sections of paths whose gains are constant, gathered to run side by side in the lanes of
// vectors: one alone waits out a product and a sum in every frame. Filled by the filter stage and run by the
// batch that mixes the paths, on the server's thread inside the block; allocates nothing.

#include <array>
#include <cstdint>

#include "goal/state/filterstate.h"
#include "numeric/kernels/firstorderkernel.h"
#include "slib/realtime.h"

namespace goal {

class SectionBatch {
public:
    /// The frame of a block where every section begins. A gain that moved a little from the block before is
    /// constant by then.
    const std::uint32_t head;

    /// For blocks of `blockFrames`.
    explicit SectionBatch(std::uint32_t blockFrames);

    /// `section`, from `head` to the end of a block, runs at the next Run at the latest, and leaves its last
    /// output in the memory of channel 0 of `state`. Its rows and the state must stay where they are until
    /// then.
    void Add(const hcml::FirstOrderSection& section, SourceFilterState& state) SLIB_NONBLOCKING;

    /// Runs what waits.
    void Run() SLIB_NONBLOCKING;

private:
    // As many as run side by side; their rows are still in the nearest cache.
    static constexpr std::uint32_t capacity = 16;

    const std::uint32_t frames;  // of a section
    std::array<hcml::FirstOrderSection, capacity> sections{};
    std::array<SourceFilterState*, capacity> states{};
    std::uint32_t count = 0;
};

}  // namespace goal
