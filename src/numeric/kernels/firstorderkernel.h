#pragma once

// First-order recursive sections of several rows, run side by side in the lanes of vectors, for one alone
// waits out the time of a product and a sum in every frame. Called on the audio thread by the filter stage of
// the sources. Nothing is allocated, and every vector target gives the same bits.

#include <cstdint>

#include "slib/realtime.h"

namespace hcml {

/// One row and its section.
struct FirstOrderSection {
    const float* input;  ///< samples x, the caller's
    float* output;       ///< samples y: the input row, or one that overlaps no other row
    float b0;            ///< of the input
    float a;             ///< of the output before
    float y1;            ///< the output before the first; afterwards the last one
};

/// Runs y = b0 * x + a * y1 over `frames` samples of each of the `count` rows: two products and a sum, each
/// rounded. Quickest with sixteen rows and whole groups of four frames; any number of either is right. Any
/// alignment will do. Doesn't flush denormal values.
void RunFirstOrderSections(FirstOrderSection* sections, std::uint32_t count,
                           std::uint32_t frames) SLIB_NONBLOCKING;

}  // namespace hcml
