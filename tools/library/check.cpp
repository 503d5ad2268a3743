#include <cmath>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "library/check/librarycheck.h"
#include "slib/exception.h"
#include "tools/library/commands.h"
#include "tools/library/making.h"
#include "tools/library/opening.h"
#include "tools/support/progress.h"
#include "tools/support/table.h"
#include "tools/support/terminal.h"

namespace tool {
namespace {

struct Options {
    std::string path;
    bool hasAcoustics = false;
    bool isJson = false;
    std::string sofa;
};

// What reading everything came to.
struct Counts {
    std::size_t transforms = 0;
    double worstLevel = 0;  // dB
    std::vector<design::TransformFinding> faults;
};

Counts CountAll(const orb3::fl::FormatLibrarian& library) {
    const Progress progress("Reading transforms");
    Counts counts;
    for (const design::TransformFinding& finding : design::CheckTransforms(library)) {
        ++counts.transforms;
        if (finding.hasLevel && std::abs(finding.level) > std::abs(counts.worstLevel))
            counts.worstLevel = finding.level;
        if (!finding.fault.empty()) counts.faults.push_back(finding);
    }
    return counts;
}

std::string Name(const design::TransformFinding& finding) {
    return orb3::fl::describe(static_cast<const orb3::fl::ConversionTag&>(finding.conversion));
}

Json ToJson(const orb3::fl::FormatLibrarian& library, const Counts& counts) {
    Json faults = Json::array();
    for (const design::TransformFinding& finding : counts.faults)
        faults.push_back({{"conversion", Name(finding)}, {"rate", finding.rate}, {"fault", finding.fault}});
    return {{"formats", library.getFormatCount()},
            {"methods", library.getMethodCount()},
            {"conversions", library.getConversionCount()},
            {"transforms", counts.transforms},
            {"worst_level", counts.worstLevel},
            {"faults", std::move(faults)}};
}

void Print(const orb3::fl::FormatLibrarian& library, const Counts& counts) {
    std::cout << library.getFormatCount() << " formats, " << library.getMethodCount() << " methods, "
              << library.getConversionCount() << " conversions, " << counts.transforms << " transforms read, "
              << counts.faults.size() << " faults; a source ahead is off in level by "
              << Fixed(counts.worstLevel, 2) << " dB at most.\n";
}

Table Speakers(const std::vector<design::SpeakerFigures>& rows) {
    Table table({{"layout", "layout"},
                 {"method", "method"},
                 {"order", "order", true},
                 {"rV mean", "velocity_mean", true},
                 {"error max", "velocity_error_max", true},
                 {"rE mean", "energy_mean", true},
                 {"least", "energy_least", true},
                 {"limit", "energy_limit", true},
                 {"mean of limit", "energy_percent_of_limit", true},
                 {"error mean", "energy_error_mean", true},
                 {"max", "energy_error_max", true},
                 {"ahead", "energy_error_ahead", true},
                 {"level least", "level_least", true},
                 {"greatest", "level_greatest", true},
                 {"all bands: level least", "bands_level_least", true},
                 {"greatest", "bands_level_greatest", true},
                 {"error mean", "bands_error_mean", true},
                 {"max", "bands_error_max", true}});
    for (const design::SpeakerFigures& row : rows)
        table.AddRow({row.layout, row.method, row.order, Number(row.velocityLength, 3, "", row.hasVelocity),
                      Number(row.velocityError, 1, "°", row.hasVelocity), Number(row.meanLength, 3),
                      Number(row.leastLength, 3), Number(row.limit, 3),
                      Number(100 * row.meanLength / row.limit, 1, "%"), Number(row.meanError, 1, "°"),
                      Number(row.greatestError, 1, "°"), Number(row.frontError, 1, "°"),
                      Number(row.leastLevel, 1, " dB"), Number(row.greatestLevel, 1, " dB"),
                      Number(row.leastInBands, 2, " dB"), Number(row.greatestInBands, 2, " dB"),
                      Number(row.meanErrorInBands, 1, "°"), Number(row.greatestErrorInBands, 1, "°")});
    return table;
}

Cell Errors(const design::ErrorFigures& figures, double scale, int digits) {
    const double median = figures.median * scale, mean = figures.mean * scale,
                 percentile95 = figures.percentile95 * scale;
    return {Fixed(median, digits) + " / " + Fixed(mean, digits) + " / " + Fixed(percentile95, digits),
            {{"median", median}, {"mean", mean}, {"percentile95", percentile95}}};
}

Table Heads(const orb3::fl::FormatLibrarian& library, const design::ReferenceHeads& heads, int rate) {
    Table table({{"method", "method"},
                 {"order", "order", true},
                 {"delay, µs", "delay", true},
                 {"0.1 to 8 kHz, dB", "level_100_to_8000_hz", true},
                 {"8 to 16 kHz, dB", "level_8000_to_16000_hz", true},
                 {"0.1 to 16 kHz, dB", "level_100_to_16000_hz", true},
                 {"between the ears, dB", "interaural_level", true}});
    for (const design::HeadFigures& row : design::CheckHeads(library, heads, rate))
        table.AddRow({row.method, row.order, Errors(row.errors.delay, 1e6, 1), Errors(row.errors.low, 1, 2),
                      Errors(row.errors.high, 1, 2), Errors(row.errors.whole, 1, 2),
                      Errors(row.errors.interaural, 1, 2)});
    return table;
}

void Print(const Table& speakers, const Table& heads, bool isHeadMissing) {
    std::cout
        << "\nSpeakers. Velocity vectors (rV) at 60 to 120 Hz, energy vectors (rE) and levels at 6 to "
           "12 kHz; ahead is\nwithin 30 degrees of it. Directions are those of the horizon for flat "
           "layouts, else of the sphere.\nAll bands are those of an octave or more from 60 Hz to 12 kHz: "
           "levels, and errors of rV below 700 Hz and of rE above,\noutside the layout's gaps, in the worst "
           "band.\n\n";
    speakers.PrintMarkdown(std::cout);
    std::cout << "\nHeads. Errors of the interaural delay below 1.5 kHz, of the levels in auditory bands, "
                 "and of the difference between the\nears in these, against the head that a method imitates, "
                 "over all its directions: median / mean / 95th "
                 "percentile.\n\n";
    heads.PrintMarkdown(std::cout);
    if (isHeadMissing)
        std::cout << "\nWithout a measured head only the sphere can be compared with its head. Name the head "
                     "with --sofa FILE.\n";
}

// Returns how many decoders miss their limits.
std::size_t CheckAcoustics(const orb3::fl::FormatLibrarian& library, const Options& options, Json& document) {
    auto progress = std::make_unique<Progress>("Measuring decoders");
    const int rate = RateOf(library);
    const std::vector<design::SpeakerFigures> rows = design::CheckSpeakers(library, rate);
    const Table speakers = Speakers(rows);
    std::size_t faults = 0;
    for (const design::SpeakerFigures& row : rows) {
        if (row.fault.empty()) continue;
        ++faults;
        Complain(row.fault);
    }
    const design::ReferenceHeads references = design::MakeReferenceHeads(HeadFile(options.sofa), rate);
    const Table heads = Heads(library, references, rate);
    progress.reset();
    if (!options.isJson) Print(speakers, heads, references.measured.directions.empty());
    document["speakers"] = speakers.ToJson();
    document["heads"] = heads.ToJson();
    return faults;
}

void Check(const Options& options) {
    const LibraryPtr library = OpenToRead(options.path);
    const Counts counts = CountAll(*library);
    for (const design::TransformFinding& finding : counts.faults)
        Complain(Name(finding) + " at " + std::to_string(finding.rate) + " Hz: " + finding.fault);
    Json document = ToJson(*library, counts);
    if (!options.isJson) Print(*library, counts);
    const std::size_t misses = options.hasAcoustics ? CheckAcoustics(*library, options, document) : 0;
    if (options.isJson) PrintJson(document);
    if (!counts.faults.empty() || counts.transforms == 0)
        throw slib::BadDataException("'" + options.path + "' has faults. 'tessarune-library build " +
                                     options.path + "' makes it anew.");
    if (misses > 0)
        throw slib::BadDataException(std::to_string(misses) + " decoders of '" + options.path +
                                     "' miss their limits.");
}

}  // namespace

void AddCheckLibraryCommand(Program& program) {
    CommandLine* command = program.AddCommand(
        "check",
        "Read every transform of a library and check counts and levels; exit status 1 for any fault.");
    command->SetFooter(
        "Examples:\n  tessarune-library check lib/default.afl\n"
        "  tessarune-library check lib/mine.pfl --acoustics --sofa my_ears.sofa");
    const auto options = std::make_shared<Options>();
    command->AddOption("PATH", options->path, "The library, .afl, .dfl or .pfl")->Require();
    command->AddFlag("--acoustics", options->hasAcoustics, "Print figures of every decoder, as tables");
    command->AddOption("--sofa", options->sofa, "The measured head that the library was built with")
        ->TakeExistingFile()
        ->ShowDefault(systemHead);
    AddJsonFlag(*command, options->isJson);
    command->OnUse([options] { Check(*options); });
}

}  // namespace tool
