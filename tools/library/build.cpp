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
    CommandLine* command =
        program.AddCommand("build", "Make a complete library: all layouts, methods, orders and rates.");
    command->SetFooter(examples);
    const auto options = std::make_shared<MakingOptions>();
    command->AddOption("PATH", options->path, "The library, .afl (packed) or .dfl (plain text)")->Require();
    Option* sofa = command->AddOption("--sofa", options->sofa, "A measured head (HRTF) in a SOFA file")
                       ->TakeExistingFile()
                       ->ShowDefault(systemHead);
    command->AddFlag("--no-sofa", options->hasNoSofa, "No measured head, only the sphere")->Exclude(sofa);
    command->AddOption("--rates", options->rates, "Sample rates in Hz to store transforms at")
        ->TakeRange(44100, 96000)
        ->ShowDefault();
    command->OnUse([options] { Build(*options); });
}

}  // namespace tool
