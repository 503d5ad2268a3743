#include <filesystem>
#include <iostream>
#include <map>
#include <memory>

#include "library/librarywriter.h"
#include "orb3core/library/pakwriter.h"
#include "slib/exception.h"
#include "slib/text.h"
#include "tools/library/commands.h"
#include "tools/library/opening.h"
#include "tools/support/progress.h"

namespace tool {
namespace {

using orb3::strans::TransformForm;

constexpr const char* examples = R"(Examples:
  tessarune-library pack lib/default.afl plain/default.dfl
  tessarune-library pack lib/default.afl default.pfl --bits 16)";

const std::map<std::string, TransformForm> forms{
    {"8", TransformForm::Compressed8},   {"12", TransformForm::Compressed12},
    {"16", TransformForm::Compressed16}, {"20", TransformForm::Compressed20},
    {"24", TransformForm::Compressed24}, {"float", TransformForm::Single}};

struct Options {
    std::string path, out, bits;
};

void Pack(const Options& options) {
    const std::string extension = slib::toUpper(std::filesystem::path(options.out).extension().string());
    if (extension != ".PFL" && extension != ".AFL" && extension != ".DFL")
        throw slib::BadDataException("OUT must end in .dfl, .afl or .pfl, not be '" + options.out + "'.");
    if (extension != ".PFL" && !options.bits.empty())
        throw slib::BadDataException("With --bits OUT must end in .pfl.");
    const LibraryPtr library = OpenToRead(options.path);
    if (std::filesystem::exists(options.out) && std::filesystem::equivalent(options.path, options.out))
        throw slib::BadDataException("OUT must be another file than PATH.");
    auto progress = std::make_unique<Progress>("Writing '" + options.out + "'");
    if (extension == ".PFL")
        orb3::fl::WritePAKLibrary(*library, options.out,
                                  options.bits.empty() ? TransformForm::Single : forms.at(options.bits));
    else
        design::WriteLibrary(
            options.out, [&](orb3::fl::FormatRegistrar& target) { design::CopyLibrary(*library, target); });
    progress.reset();
    std::cout << options.out << ": " << library->getConversionCount() << " conversions\n";
}

}  // namespace

void AddPackCommand(Program& program) {
    CommandLine* command =
        program.AddCommand("pack", "Write a library in another form: .dfl, .afl or one file, .pfl.");
    command->SetFooter(examples);
    const auto options = std::make_shared<Options>();
    command->AddOption("PATH", options->path, "The library")->Require();
    command->AddOption("OUT", options->out, "The file to write; its ending chooses the form")->Require();
    program.TakeOneOf(
        command->AddOption("--bits", options->bits, "Bits of a sample in a .pfl, or float, the default"),
        {"8", "12", "16", "20", "24", "float"});
    command->OnUse([options] { Pack(*options); });
}

}  // namespace tool
