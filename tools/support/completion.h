#pragma once

// Completion for shells, made from the programs' command lines: commands, options, and the values that are
// offered. Where nothing is offered, files are. One thread.

#include <string>

#include "tools/support/program.h"

namespace tool {

std::string BashCompletion(const Program& program);
std::string ZshCompletion(const Program& program);
std::string FishCompletion(const Program& program);

}  // namespace tool
