#pragma once

// Frames of several channels, taken apart into a row for each. Called by the source readers on the audio
// thread. Nothing is allocated; samples are copied as they are.

#include <cstdint>

#include "slib/realtime.h"

namespace hcml {

/// Copies sample c of frame i, frames[i * channels + c], to rows[c][i], for `channels` rows of `count`
/// floats, which don't overlap the frames. Reads and writes nothing else. Any alignment will do.
void Deinterleave(float* const* rows, const float* frames, std::uint32_t channels,
                  std::uint32_t count) SLIB_NONBLOCKING;

}  // namespace hcml
