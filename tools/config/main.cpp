// Shows and changes a user's settings.

#include <exception>
#include <iostream>
#include <string>

#include "tools/config/commands.h"
#include "tools/config/settings.h"

namespace {

constexpr int failed = 1;
constexpr int wrongUse = 2;
constexpr const char* examples = R"(Examples:
  tessarune-config check                  what a game's start would do, and why
  tessarune-config show                   all that is set
  tessarune-config get Order
  tessarune-config set Order 2
  tessarune-config layouts
  tessarune-config select "Headphone Stereo"
  tessarune-config speaker-test
  tessarune-config set Output WaveFile)";

std::string Footer() {
    return std::string(examples) + R"(

'tessarune-config COMMAND --help' describes a command. A running game takes changes up within two seconds; those of
)" + tool::PlatformSettingNames() +
           R"( with the next change of another setting, or at its next start.
Exit status: 0 for success, 1 for a failure, 2 for a command line that is wrong.)";
}

int Explain(const char* sentence, int status) {
    std::cerr << "tessarune-config: " << sentence << "\n";
    return status;
}

// What is wrong with the command line, as a sentence without its end.
std::string Fault(const CLI::App& program, const CLI::ParseError& error, const char* command) {
    if (command == nullptr) return "Name a command";
    const bool isUnknown = command[0] != '-' && program.get_subcommands().empty();
    return isUnknown ? std::string("There is no command '") + command + "'" : error.what();
}

int ExplainUse(const CLI::App& program, const CLI::ParseError& error, const char* command) {
    if (error.get_exit_code() == 0) return program.exit(error);
    return Explain((Fault(program, error, command) +
                    ". 'tessarune-config --help' lists the commands, 'tessarune-config COMMAND --help' "
                    "describes one.")
                       .c_str(),
                   wrongUse);
}

}  // namespace

int main(int count, char** arguments) {
    CLI::App program("Shows and changes the settings of Tessarune.", "tessarune-config");
    program.require_subcommand(1);
    program.footer(Footer());
    for (const auto add : {tool::AddShowCommand, tool::AddSettingCommands, tool::AddDevicesCommand,
                           tool::AddLayoutCommands, tool::AddSpeakersCommand, tool::AddSpeakerTestCommand,
                           tool::AddCheckCommand, tool::AddLogCommand, tool::AddDocumentCommands})
        add(program);
    try {
        program.parse(count, arguments);
        return 0;
    } catch (const CLI::ParseError& error) {
        return ExplainUse(program, error, arguments[count > 1 ? 1 : count]);
    } catch (const tool::WrongUse& failure) {
        return Explain(failure.what(), wrongUse);
    } catch (const std::exception& failure) {
        return Explain(failure.what(), failed);
    }
}
