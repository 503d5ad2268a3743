#include <memory>

#include "tools/library/commands.h"
#include "tools/library/making.h"
#include "tools/support/progress.h"

namespace tool {
namespace {

constexpr const char* examples = R"(Examples:
  tessarune-library build lib/default.afl
  tessarune-library build lib/mine.dfl --sofa my_ears.sofa --rates 48000 96000
  tessarune-library build lib/small.afl --no-sofa)";

void Build(MakingOptions options) {
    auto progress = std::make_unique<Progress>("Designing decoders");
    options.report = [&](std::size_t number, std::size_t all, const std::string& layout) {
        progress->Step(number, all, layout);
    };
    options.reportEnd = [&] { progress.reset(); };
    MakeLibrary(options);
}

}  // namespace

void AddBuildCommand(Program& program) {
    CLI::App* command =
        program.add_subcommand("build", "Make a complete library: all layouts, methods, orders and rates.");
    command->footer(examples);
    const auto options = std::make_shared<MakingOptions>();
    command->add_option("PATH", options->path, "The library, .afl (packed) or .dfl (plain text)")->required();
    CLI::Option* sofa = command->add_option("--sofa", options->sofa, "A measured head (HRTF) in a SOFA file")
                            ->check(CLI::ExistingFile)
                            ->default_str(systemHead);
    command->add_flag("--no-sofa", options->hasNoSofa, "No measured head, only the sphere")->excludes(sofa);
    command->add_option("--rates", options->rates, "Sample rates in Hz to store transforms at")
        ->check(CLI::Range(44100, 96000))
        ->capture_default_str();
    command->callback([options] { Build(*options); });
}

}  // namespace tool
