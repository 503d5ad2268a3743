#pragma once

// The functions that alGetProcAddress knows, with their entry points. Called by that call, on any thread.

#include <span>

#include "app/goaldll/nametable.h"

namespace goal {

/// 109 rows in a fixed order, without a name twice. Static memory; every entry is the exported function
/// itself.
std::span<const ProcRow> AlProcs();

}  // namespace goal
