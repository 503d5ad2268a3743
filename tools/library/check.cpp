#include <algorithm>
#include <iostream>
#include <memory>

#include "library/librarycheck.h"
#include "slib/exception.h"
#include "tools/library/commands.h"
#include "tools/library/opening.h"
#include "tools/library/table.h"

namespace tool {
namespace {

struct Options {
    std::string path;
    bool hasAcoustics = false;
    std::string sofa;
};

// Prints what is wrong; true when nothing is.
bool CheckAll(const orb3::fl::FormatLibrarian& library) {
    std::size_t faults = 0;
    double worst = 0;
    const std::vector<design::TransformFinding> findings = design::CheckTransforms(library);
    for (const design::TransformFinding& finding : findings) {
        if (finding.hasLevel && std::abs(finding.level) > std::abs(worst)) worst = finding.level;
        if (finding.fault.empty()) continue;
        ++faults;
        std::cerr << orb3::fl::describe(static_cast<const orb3::fl::ConversionTag&>(finding.conversion))
                  << " at " << finding.rate << " Hz: " << finding.fault << "\n";
    }
    std::cout << library.getFormatCount() << " formats, " << library.getMethodCount() << " methods, "
              << library.getConversionCount() << " conversions, " << findings.size() << " transforms read, "
              << faults << " faults; a source ahead is off in level by " << Fixed(worst, 2)
              << " dB at most.\n";
    return faults == 0 && !findings.empty();
}

void PrintSpeakers(const orb3::fl::FormatLibrarian& library, int rate) {
    Table table({"layout", "method", ">order", ">rV mean", ">error max", ">rE mean", ">least", ">limit",
                 ">mean of limit", ">error mean", ">max", ">ahead", ">level least", ">greatest"});
    for (const design::SpeakerFigures& row : design::CheckSpeakers(library, rate))
        table.AddRow({row.layout, row.method, std::to_string(row.order),
                      row.hasVelocity ? Fixed(row.velocityLength, 3) : "-",
                      row.hasVelocity ? Fixed(row.velocityError, 1) + "°" : "-", Fixed(row.meanLength, 3),
                      Fixed(row.leastLength, 3), Fixed(row.limit, 3),
                      Fixed(100 * row.meanLength / row.limit, 1) + "%", Fixed(row.meanError, 1) + "°",
                      Fixed(row.greatestError, 1) + "°", Fixed(row.frontError, 1) + "°",
                      Fixed(row.leastLevel, 1) + " dB", Fixed(row.greatestLevel, 1) + " dB"});
    std::cout << "\nSpeakers. Velocity vectors (rV) at 60 to 120 Hz, energy vectors (rE) and levels at 6 to "
                 "12 kHz; ahead is\nwithin 30 degrees of it. Directions are those of the horizon for flat "
                 "layouts, else of the sphere.\n\n";
    table.Print(std::cout);
}

std::string Cell(const design::ErrorFigures& figures, double scale, int digits) {
    return Fixed(figures.median * scale, digits) + " / " + Fixed(figures.mean * scale, digits) + " / " +
           Fixed(figures.percentile95 * scale, digits);
}

void PrintHeads(const orb3::fl::FormatLibrarian& library, int rate, const std::string& sofa) {
    const design::ReferenceHeads heads = design::MakeReferenceHeads(HeadFile(sofa), rate);
    Table table(
        {"method", ">order", ">delay, µs", ">0.1 to 8 kHz, dB", ">8 to 16 kHz, dB", ">0.1 to 16 kHz, dB"});
    for (const design::HeadFigures& row : design::CheckHeads(library, heads, rate))
        table.AddRow({row.method, std::to_string(row.order), Cell(row.errors.delay, 1e6, 1),
                      Cell(row.errors.low, 1, 2), Cell(row.errors.high, 1, 2), Cell(row.errors.whole, 1, 2)});
    std::cout << "\nHeads. Errors of the interaural delay below 1.5 kHz and of the levels in auditory bands "
                 "against the head that\na method imitates, over all its directions: median / mean / 95th "
                 "percentile.\n\n";
    table.Print(std::cout);
    if (heads.measured.directions.empty())
        std::cout << "\nWithout a measured head only the sphere can be compared with its head. Name the head "
                     "with --sofa FILE.\n";
}

void Check(const Options& options) {
    const LibraryPtr library = OpenToRead(options.path);
    const bool isSound = CheckAll(*library);
    if (options.hasAcoustics) {
        const int rate = RateOf(*library);
        PrintSpeakers(*library, rate);
        PrintHeads(*library, rate, options.sofa);
    }
    if (!isSound)
        throw slib::BadDataException("'" + options.path + "' has faults. 'tessarune-library build " +
                                     options.path + "' makes it anew.");
}

}  // namespace

void AddCheckCommand(CLI::App& program) {
    CLI::App* command = program.add_subcommand(
        "check",
        "Read every transform of a library and check counts and levels; exit status 1 for any fault.");
    command->footer(
        "Examples:\n  tessarune-library check lib/default.afl\n"
        "  tessarune-library check lib/mine.pfl --acoustics --sofa my_ears.sofa");
    const auto options = std::make_shared<Options>();
    command->add_option("PATH", options->path, "The library, .afl, .dfl or .pfl")->required();
    command->add_flag("--acoustics", options->hasAcoustics, "Print figures of every decoder, as tables");
    command->add_option("--sofa", options->sofa, "The measured head that the library was built with")
        ->check(CLI::ExistingFile)
        ->default_str(systemHead);
    command->callback([options] { Check(*options); });
}

}  // namespace tool
