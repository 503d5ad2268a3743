#pragma once

// What the commands that end in the selection of a layout say of it. One thread.

#include "orb3core/speakers/layout.h"

namespace tool {

/// `layout` was just put in force.
void PrintSelection(const orb3::spk::Layout& layout);

}  // namespace tool
