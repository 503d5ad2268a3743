#pragma once

// What a fuzz target says of what must hold.

#include <cstdlib>

/// Ends the process, which the engine takes for a finding, when it doesn't.
inline void Check(bool holds) {
    if (!holds) std::abort();
}
