#pragma once

// The man pages of the programs, made from their command lines. One thread.

#include <string>

#include "tools/support/program.h"

namespace tool {

/// The page of section 1, in the macros of man(7).
std::string ManPage(const Program& program);

}  // namespace tool
