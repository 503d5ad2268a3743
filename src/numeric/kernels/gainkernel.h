#pragma once

// A row of samples times a gain. Called on the audio thread by all that mixes: the bus, the filter stage and
// the effects. Nothing is allocated, and every vector target gives the same bits.
//
// Rows are whole groups of four floats: `vectors` * 4 of them exist, are read and are written. They should
// start at a multiple of 16 bytes, and are quickest at one of 128.

#include <cstddef>
#include <cstdint>

#include "slib/realtime.h"

namespace hcml {

/// target[i] = source[i] * gain, with a linear gain. The two rows are the same or don't overlap.
void MultiplyRow(float* target, const float* source, float gain, std::uint32_t vectors) SLIB_NONBLOCKING;

/// target[i] = source[i] * gains[i]. `target` is one of the others or overlaps none.
void MultiplyRows(float* target, const float* source, const float* gains,
                  std::uint32_t vectors) SLIB_NONBLOCKING;

/// target[i] += source[i] * gain: a product, rounded, and then a sum. The two rows are the same or don't
/// overlap.
void MultiplyAddRow(float* target, const float* source, float gain, std::uint32_t vectors) SLIB_NONBLOCKING;

/// MultiplyRow for `count` samples of any alignment, whole groups or not: nothing after them is touched.
inline void MultiplySamples(float* target, const float* source, float gain,
                            std::size_t count) SLIB_NONBLOCKING {
    constexpr std::size_t worthTheCall =
        64;  // below it the choice of the vector target costs more than it saves
    std::size_t done = 0;
    if (count >= worthTheCall) {
        done = count / 4 * 4;
        MultiplyRow(target, source, gain, static_cast<std::uint32_t>(done / 4));
    }
    for (std::size_t i = done; i < count; ++i)
        target[i] = source[i] * gain;
}

}  // namespace hcml
