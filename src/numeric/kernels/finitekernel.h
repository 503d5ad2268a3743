#pragma once

// Whether a row of samples is fit to be mixed. Called by the renderer on the audio thread, once for each row
// that it mixes. Nothing is allocated, and every vector target gives the same result.

#include <cstdint>

#include "slib/realtime.h"

namespace hcml {

/// True when none of `frames` samples is infinite or not a number. Denormal samples pass. Quickest on whole
/// groups of four samples; any alignment will do.
[[nodiscard]] bool IsFiniteRow(const float* row, std::uint32_t frames) SLIB_NONBLOCKING;

}  // namespace hcml
