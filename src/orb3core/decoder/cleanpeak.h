#pragma once

// The level of a block before it is limited. On the thread that decodes; allocates nothing.

#include <cstddef>

#include "slib/realtime.h"

namespace orb3 {

/// The greatest magnitude of `count` samples. Those that aren't finite become 0 and don't count.
float CleanPeak(float* samples, std::size_t count) SLIB_NONBLOCKING;

}  // namespace orb3
