#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>
#include <numbers>

#include "library/check/libraryplots.h"
#include "library/formatlayout.h"
#include "slib/exception.h"
#include "slib/files.h"
#include "tools/library/commands.h"
#include "tools/library/making.h"
#include "tools/library/opening.h"
#include "tools/support/progress.h"

namespace tool {
namespace {

constexpr const char* examples = R"(Examples:
  tessarune-library plot lib/default.afl --out plots
  tessarune-library plot lib/default.afl --out plots --layout "Surround 5.1" --method allround --order 3)";

struct Options {
    std::string path, out, layout, method, sofa;
    unsigned order = 0;
};

// A decoder that is to be drawn.
struct Subject {
    std::uint32_t index = 0;
    orb3::fl::Conversion conversion;
    design::SpeakerLayout layout;
    unsigned order = 0;

    bool IsOfHeadphones() const { return layout.kind == design::LayoutKind::Headphones; }
    std::string Name() const {
        return layout.name + ", " + conversion.method + ", order " + std::to_string(order);
    }
    std::string FileName() const {
        return conversion.to + "-" + conversion.method + "-" + std::to_string(order);
    }
};

bool IsWanted(const Subject& subject, const orb3::fl::Format& to, const Options& options) {
    if (!options.layout.empty() && options.layout != to.name && options.layout != to.tag) return false;
    if (!options.method.empty() && options.method != subject.conversion.method) return false;
    return options.order == 0 || options.order == subject.order;
}

std::vector<Subject> FindSubjects(const orb3::fl::FormatLibrarian& library, const Options& options) {
    std::vector<Subject> subjects;
    for (std::uint32_t i = 0; i < library.getConversionCount(); ++i) {
        Subject subject{.index = i, .conversion = {}, .layout = {}};
        library.getConversion(i, subject.conversion);
        orb3::fl::Format from, to;
        library.getFormat(library.findFormat(subject.conversion.from), from);
        library.getFormat(library.findFormat(subject.conversion.to), to);
        subject.order = design::OrderOfFormat(from);
        if (subject.order == 0 || !to.speakers || !IsWanted(subject, to, options)) continue;
        subject.layout = design::LayoutOfFormat(to);
        subjects.push_back(std::move(subject));
    }
    return subjects;
}

// By default: the greatest order, of layouts by their best method, of headphones by all.
std::vector<Subject> ChooseSubjects(std::vector<Subject> found, const Options& options) {
    const auto isBetter = [&](const Subject& other, const Subject& subject) {
        if (other.conversion.to != subject.conversion.to) return false;
        const bool isSameMethod = other.conversion.method == subject.conversion.method;
        if (isSameMethod) return options.order == 0 && other.order > subject.order;
        return options.method.empty() && !subject.IsOfHeadphones() &&
               other.conversion.priority > subject.conversion.priority;
    };
    std::vector<Subject> chosen;
    for (const Subject& subject : found)
        if (std::ranges::none_of(found, [&](const Subject& other) { return isBetter(other, subject); }))
            chosen.push_back(subject);
    if (chosen.empty())
        throw slib::BadDataException(
            "The library has no such decoder. 'tessarune-library show' lists "
            "layouts, methods and orders.");
    return chosen;
}

void Draw(const Subject& subject, const design::DecoderTransform& transform,
          const design::ReferenceHeads& heads, const std::string& folder) {
    const auto write = [&](const char* what, const std::string& document) {
        const std::string file = subject.FileName() + "." + what + ".svg";
        slib::writeFile((std::filesystem::path(folder) / file).string(), document);
        std::cout << file << "\n";
    };
    const std::string name = subject.Name();
    const double azimuth = std::numbers::pi / (subject.IsOfHeadphones() ? 2 : 6);
    write("impulses", design::DrawLines(design::PlotImpulses(subject.layout, transform, azimuth, name)));
    if (subject.IsOfHeadphones()) {
        const design::HeadSpectra* head = design::ReferenceOf(subject.conversion.method, heads);
        write("delay", design::DrawLines(design::PlotDelays(transform, head, name)));
        write("difference", design::DrawLines(design::PlotLevelDifferences(transform, head, name)));
    } else {
        write("level", design::DrawPolar(design::PlotLevels(subject.layout, transform, name)));
        write("energy",
              design::DrawPolar(design::PlotEnergyVectors(subject.layout, subject.order, transform, name)));
    }
}

void Plot(const Options& options) {
    const LibraryPtr library = OpenToRead(options.path);
    const int rate = RateOf(*library);
    const std::vector<Subject> subjects = ChooseSubjects(FindSubjects(*library, options), options);
    slib::createDirectories(options.out);
    design::ReferenceHeads heads;
    if (std::ranges::any_of(subjects, &Subject::IsOfHeadphones)) {
        const Progress progress("Measuring heads");
        heads = design::MakeReferenceHeads(HeadFile(options.sofa), rate);
    }
    for (const Subject& subject : subjects) {
        design::DecoderTransform transform;
        library->getTransform(subject.index, rate, transform);
        Draw(subject, transform, heads, options.out);
    }
}

}  // namespace

void AddPlotCommand(Program& program) {
    CommandLine* command = program.AddCommand("plot", "Draw what decoders do, as SVG.");
    command->SetFooter(examples);
    const auto options = std::make_shared<Options>();
    command->AddOption("PATH", options->path, "The library, .afl, .dfl or .pfl")->Require();
    command->AddOption("--out", options->out, "The folder for the plots; made when missing")->Require();
    command->AddOption("--layout", options->layout, "One layout, by its name or tag; else all");
    command->AddOption("--method", options->method, "A method, by its tag; else the best, or all of heads");
    command->AddOption("--order", options->order, "An order; else the greatest")->TakeRange(1, 4);
    command->AddOption("--sofa", options->sofa, "The measured head that the library was built with")
        ->TakeExistingFile()
        ->ShowDefault(systemHead);
    command->OnUse([options] { Plot(*options); });
}

}  // namespace tool
