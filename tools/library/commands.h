#pragma once

// The commands of the program, one a file. Each function adds its command to the program, with options and
// the work itself, which the program's parsing runs; on the main thread. Work that fails throws, and the
// program prints what it was.

#include "tools/support/program.h"

namespace tool {

void AddBuildCommand(Program& program);
void AddShowLibraryCommand(Program& program);
void AddCheckLibraryCommand(Program& program);
void AddPackCommand(Program& program);
void AddLayoutCommand(Program& program);
void AddPlotCommand(Program& program);

}  // namespace tool
