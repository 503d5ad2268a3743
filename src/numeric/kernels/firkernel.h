#pragma once

// Short linear filters over rows, for the filters that change a rate by a whole factor. Called on the audio
// thread by the effects. Nothing is allocated, and every vector target gives the same bits.

#include <cstdint>

#include "slib/realtime.h"

namespace hcml {

/// One row and its taps, in the order of time.
struct FilteredRow {
    const float* input;  ///< as many floats as there are outputs, and taps - 1 more
    const float* taps;
};

/// Writes `count` floats, each the sum over the rows, in order, of
///
///     output[i] = sum over t from 0 to tapCount - 1, in order, of taps[t] * input[i + t]
///
/// from 0 on. `output` overlaps no row. Any alignment will do.
void FilterRows(float* output, std::uint32_t count, const FilteredRow* rows, std::uint32_t rowCount,
                std::uint32_t tapCount) SLIB_NONBLOCKING;

}  // namespace hcml
