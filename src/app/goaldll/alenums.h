#pragma once

// The tokens that alGetEnumValue knows, with their values. Called by that call, on any thread.

#include <span>

#include "app/goaldll/nametable.h"

namespace goal {

/// 281 rows in a fixed order, without a name twice. Static memory.
std::span<const EnumRow> AlEnums();

}  // namespace goal
