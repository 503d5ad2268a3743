#include <unistd.h>

#include <chrono>
#include <cmath>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "library/libraryassembly.h"
#include "library/librarywriter.h"
#include "slib/exception.h"
#include "tools/library/commands.h"
#include "tools/library/opening.h"

namespace tool {
namespace {

constexpr const char* examples = R"(Examples:
  tessarune-library build lib/default.afl
  tessarune-library build lib/mine.dfl --sofa my_ears.sofa --rates 48000 96000
  tessarune-library build lib/small.afl --no-sofa)";

struct Options {
    std::string path;
    std::string sofa;
    bool hasNoSofa = false;
    std::vector<int> rates{44100, 48000};
};

std::string HeadOf(const Options& options) {
    if (options.hasNoSofa) return "";
    std::string head = HeadFile(options.sofa);
    if (!head.empty()) return head;
    throw slib::BadDataException(std::string("There is no '") + systemHead +
                                 "'. Name a measured head (HRTF) with --sofa FILE, or build without "
                                 "one with --no-sofa.");
}

void Build(const Options& options) {
    const auto begin = std::chrono::steady_clock::now();
    design::LibraryPlan plan = design::DefaultPlan(HeadOf(options));
    plan.rates = options.rates;
    if (isatty(STDERR_FILENO) == 1)
        plan.report = [count = 0, all = plan.layouts.size()](const std::string& layout) mutable {
            std::cerr << "Designing decoders, " << ++count << " of " << all << ": " << layout << "\n";
        };
    design::WriteLibrary(options.path, [&](orb3::fl::FormatRegistrar& library) {
        design::AssembleLibrary(plan, library);
        std::cout << options.path << ": " << library.getFormatCount() << " formats, "
                  << library.getMethodCount() << " methods, " << library.getConversionCount()
                  << " conversions";
    });
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
    std::cout << ", made in " << std::lround(time.count()) << " s\n";
}

}  // namespace

void AddBuildCommand(Program& program) {
    CLI::App* command =
        program.add_subcommand("build", "Make a complete library: all layouts, methods, orders and rates.");
    command->footer(examples);
    const auto options = std::make_shared<Options>();
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
