#pragma once

// The files of tools/page/front, which embed.cmake builds into the program.

#include <span>

#include "tools/page/server/asset.h"

namespace page {

/// "/" is index.html; the others have their names.
std::span<const Asset> FrontEnd();

}  // namespace page
