#pragma once

// The commands of the program, one or a few that belong together in a file. Each function adds its commands
// to the program, with options and the work itself, which the program's parsing runs; on the main thread.
// Work that fails throws, and main prints what it was.

#include <CLI/CLI.hpp>

#include "slib/exception.h"

namespace tool {

/// The command line asks for what can't be. Its text is a whole sentence that says what can.
class WrongUse : public slib::StringException {
public:
    using StringException::StringException;
};

void AddShowCommand(CLI::App& program);
void AddSettingCommands(CLI::App& program);
void AddDevicesCommand(CLI::App& program);
void AddLayoutCommands(CLI::App& program);
void AddSpeakersCommand(CLI::App& program);
void AddSpeakerTestCommand(CLI::App& program);
void AddCheckCommand(CLI::App& program);
void AddLogCommand(CLI::App& program);
void AddDocumentCommands(CLI::App& program);

}  // namespace tool
