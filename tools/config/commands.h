#pragma once

// The commands of the program, one or a few that belong together in a file. Each function adds its commands
// to the program, with options and the work itself, which the program's parsing runs; on the main thread.
// Work that fails throws, and the program prints what it was.

#include "tools/support/program.h"

namespace tool {

void AddShowCommand(Program& program);
void AddSettingCommands(Program& program);
void AddDevicesCommand(Program& program);
void AddLayoutCommands(Program& program);
void AddSpeakersCommand(Program& program);
void AddHeadCommand(Program& program);
void AddHeadphonesCommand(Program& program);
void AddSpeakerTestCommand(Program& program);
void AddCheckCommand(Program& program);
void AddDoctorCommand(Program& program);
void AddLogCommand(Program& program);
void AddGameCommand(Program& program);
void AddPageCommand(Program& program);
void AddTopCommand(Program& program);
void AddDocumentCommands(Program& program);
void AddUndoCommands(Program& program);
void AddMeasureCommand(Program& program);
void AddTrackerCommand(Program& program);
void AddRecordCommand(Program& program);

}  // namespace tool
