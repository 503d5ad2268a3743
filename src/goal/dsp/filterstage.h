#pragma once

// The one stage that every path of a source passes through, direct or send, and the reverb's output:
//
//     input ──> gain and high shelf (1st or 2nd order) ──> low shelf (1st or 2nd order) ──> output
//
// It applies the path's gain, cuts the high and the low frequencies by gains at two reference frequencies,
// and slews all three gains at 2000 dB per second, so that no change of a level clicks. Called on the
// server's thread inside the block: allocates nothing once the output has its shape, and each output sample
// is a fixed order of separate multiplies and adds.

#include <cstdint>

#include "goal/dsp/filtergaintables.h"
#include "goal/dsp/sectionbatch.h"
#include "goal/state/filterstate.h"
#include "numeric/bus.h"
#include "numeric/floattuplevector.h"
#include "slib/realtime.h"

namespace goal {

/// What the path adds to the filter that the game has set.
struct FilterStageSettings {
    float gainFactor = 1;  ///< times the filter's gain; linear
    float hfFactor = 1;    ///< times the filter's high-frequency gain; linear
    float floorScale =
        1;  ///< times the floor of the slew: the factor that gainFactor has for the samples' scale
    std::int32_t defaultOrder = 1;  ///< 1 or 2, for a filter whose order is 0
};

/// Runs one block of at most 8 channels through the stage. `output` takes the shape of `input` and may be it.
/// The result says that the path is silent in this block; `output` is then not valid.
///
/// Any gain is taken: the path's gain as UsableGain says, the high and the low gain also held to 1. So a
/// setting that is infinite or not a number fades its path out and leaves it in silence. A sample that isn't
/// finite doesn't stay in the memory beyond the run it came in. The first block, and the first with another
/// count of channels, takes all gains at once. Throws slib::IntegrityFailureException for more than 8
/// channels, and slib::OutOfMemoryException when `output` has to grow and can't.
[[nodiscard]] bool filterChannels(const FilterParameters& record, SourceFilterState& state,
                                  const hcml::ac::Bus& input, hcml::ac::Bus& output,
                                  const FilterGainTables& tables,
                                  const FilterStageSettings& settings) SLIB_NONBLOCKING;

/// The same for a path of one channel.
[[nodiscard]] bool filterOne(const FilterParameters& record, SourceFilterState& state,
                             const hcml::FloatTupleVector& input, hcml::FloatTupleVector& output,
                             const FilterGainTables& tables,
                             const FilterStageSettings& settings) SLIB_NONBLOCKING;

/// filterOne, but a path that from waiting.head on has nothing to run but a first-order high section at gains
/// that are constant leaves that to `waiting`: `output` is complete after waiting.Run(). Until then it must
/// stay where it is; `input` may change at once.
[[nodiscard]] bool FilterOneLater(const FilterParameters& record, SourceFilterState& state,
                                  const hcml::FloatTupleVector& input, hcml::FloatTupleVector& output,
                                  const FilterGainTables& tables, const FilterStageSettings& settings,
                                  SectionBatch& waiting) SLIB_NONBLOCKING;

/// The same in place.
[[nodiscard]] inline bool FilterOneLater(const FilterParameters& record, SourceFilterState& state,
                                         hcml::FloatTupleVector& samples, const FilterGainTables& tables,
                                         const FilterStageSettings& settings,
                                         SectionBatch& waiting) SLIB_NONBLOCKING {
    return FilterOneLater(record, state, samples, samples, tables, settings, waiting);
}

/// True where the stage would pass a path of one channel on as it is: all gains are and were 1. Such a path
/// may leave it out in this block; its memory is then as the stage would leave it.
[[nodiscard]] bool PassesAsItIs(const FilterParameters& record, SourceFilterState& state,
                                const FilterStageSettings& settings) SLIB_NONBLOCKING;

/// As for a path that was never used: clean memory, all gains 1. The gains of the mix stay as they are.
void reset(SourceFilterState& state);

}  // namespace goal
