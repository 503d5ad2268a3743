// Makes, checks, packs and draws format libraries.

#include <exception>
#include <iostream>

#include "tools/library/commands.h"

namespace {

constexpr const char* examples = R"(Examples:
  tessarune-library build lib/default.afl
  tessarune-library check lib/default.afl --acoustics
  tessarune-library layout lib/default.afl attic.txt
  tessarune-library pack lib/default.afl default.pfl --bits 16
  tessarune-library plot lib/default.afl --out plots

'tessarune-library COMMAND --help' describes a command.)";

}  // namespace

int main(int count, char** arguments) {
    try {
        CLI::App program("Makes, checks, packs and draws the format libraries of Tessarune.",
                         "tessarune-library");
        program.require_subcommand(1);
        program.footer(examples);
        for (const auto add : {tool::AddBuildCommand, tool::AddShowCommand, tool::AddCheckCommand,
                               tool::AddPackCommand, tool::AddLayoutCommand, tool::AddPlotCommand})
            add(program);
        CLI11_PARSE(program, count, arguments);
        return 0;
    } catch (const std::exception& failure) {
        std::cerr << "tessarune-library: " << failure.what() << "\n";
        return 1;
    }
}
