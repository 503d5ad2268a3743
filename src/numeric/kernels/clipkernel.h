#pragma once

// The clip of a distortion, as a mean over the way from sample to sample. Called on the audio thread. Nothing
// is allocated, and every vector target gives the same bits.

#include <cstdint>

#include "slib/realtime.h"

namespace hcml {

/// Writes 4 * `vectors` floats: output[i] is the mean of the clip to ±1 over the line from from[i] to to[i],
/// which is (F(to) - F(from)) / (to - from) with F(u) = u*c - c*c/2 for the clipped value c of u. With the
/// clipped values a of from and b of to it is formed as
///
///     m + ((from + to)/2 - m) * (|b - a| / max(|to - from|, 1e-20)),  m = (a + b)/2
///
/// where nothing cancels, however near the two are. `output` may be `from` or `to`. Any alignment will do.
void MeanOfClipRow(float* output, const float* from, const float* to, std::uint32_t vectors) SLIB_NONBLOCKING;

}  // namespace hcml
