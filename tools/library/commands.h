#pragma once

// The commands of the program, one a file. Each function adds its command to the program, with options and
// the work itself, which the program's parsing runs; on the main thread. Work that fails throws, and main
// tells what it was.

#include <CLI/CLI.hpp>

namespace tool {

void AddBuildCommand(CLI::App& program);
void AddShowCommand(CLI::App& program);
void AddCheckCommand(CLI::App& program);
void AddPackCommand(CLI::App& program);
void AddLayoutCommand(CLI::App& program);
void AddPlotCommand(CLI::App& program);

}  // namespace tool
