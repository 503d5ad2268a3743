#pragma once

// The functions that alcGetProcAddress knows, with their entry points. Called by that call, on any thread.

#include <span>

#include "app/goaldll/nametable.h"

namespace goal {

/// 21 rows in a fixed order, without a name twice. Static memory; every entry is the exported function
/// itself.
std::span<const ProcRow> AlcProcs();

}  // namespace goal
