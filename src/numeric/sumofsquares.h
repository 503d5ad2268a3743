#pragma once

// How loud a row of samples is. For meters, on the audio thread; allocates nothing.

#include <cstddef>

#include "slib/realtime.h"

namespace hcml {

/// In sixteen parts that are added up at the end, so that they don't wait for each other.
[[nodiscard]] float SumOfSquares(const float* samples, std::size_t count) SLIB_NONBLOCKING;

}  // namespace hcml
