#pragma once

// The tokens that alcGetEnumValue knows, with their values. Called by that call, on any thread.

#include <span>

#include "app/goaldll/nametable.h"

namespace goal {

/// 30 rows in a fixed order, without a name twice. Static memory.
std::span<const EnumRow> AlcEnums();

}  // namespace goal
