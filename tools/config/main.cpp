// Shows and changes a user's settings.

#include <string>

#include "tools/config/commands.h"
#include "tools/manage/settings.h"

namespace {

constexpr const char* examples = R"(Examples:
  tessarune-config check                  what a game's start would do, and why
  tessarune-config doctor                 what is wrong, and what mends it
  tessarune-config show                   all that is set
  tessarune-config get Order
  tessarune-config set Order 2
  tessarune-config layouts
  tessarune-config select "Headphone Stereo"
  tessarune-config speaker-test
  tessarune-config head add me.sofa --name Me
  tessarune-config top                    the games that play, and how they fare
  tessarune-config set Output WaveFile
  tessarune-config page                   all of it in your browser)";

std::string Footer() {
    return std::string(examples) + R"(

'tessarune-config COMMAND --help' describes a command. A running game takes changes up within two seconds; those of
)" + tool::PlatformSettingNames() +
           R"( with the next change of another setting, or at its next start.
)" + tool::exitStatuses;
}

}  // namespace

int main(int count, char** arguments) {
    tool::HideRefusedPriority();
    tool::Program program("tessarune-config", "Shows and changes the settings of Tessarune.");
    program.RequireCommand();
    program.SetFooter(Footer());
    for (const auto add :
         {tool::AddShowCommand, tool::AddSettingCommands, tool::AddDevicesCommand, tool::AddLayoutCommands,
          tool::AddSpeakersCommand, tool::AddHeadCommand, tool::AddHeadphonesCommand,
          tool::AddSpeakerTestCommand, tool::AddCheckCommand, tool::AddDoctorCommand, tool::AddLogCommand,
          tool::AddGameCommand, tool::AddTopCommand, tool::AddPageCommand, tool::AddDocumentCommands,
          tool::AddUndoCommands, tool::AddMeasureCommand, tool::AddTrackerCommand, tool::AddRecordCommand})
        add(program);
    return program.Run(count, arguments);
}
