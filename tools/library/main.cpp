// Makes, checks, packs and draws format libraries.

#include <string>

#include "tools/library/commands.h"
#include "tools/library/making.h"
#include "tools/library/opening.h"

namespace {

constexpr const char* examples = R"(Examples:
  tessarune-library build lib/default.afl
  tessarune-library check lib/default.afl --acoustics
  tessarune-library layout lib/default.afl attic.txt
  tessarune-library pack lib/default.afl default.pfl --bits 16
  tessarune-library plot lib/default.afl --out plots

'tessarune-library COMMAND --help' describes a command.
)";

}  // namespace

int main(int count, char** arguments) {
    tool::Program program("tessarune-library",
                          "Makes, checks, packs and draws the format libraries of Tessarune.");
    program.RequireCommand();
    program.SetFooter(std::string(examples) + tool::exitStatuses);
    program.files = {{tool::systemHead, "The measured head (HRTF) that is taken where no other is named."}};
    for (const auto add : {tool::AddBuildCommand, tool::AddShowLibraryCommand, tool::AddCheckLibraryCommand,
                           tool::AddPackCommand, tool::AddLayoutCommand, tool::AddPlotCommand})
        add(program);
    return program.Run(count, arguments);
}
