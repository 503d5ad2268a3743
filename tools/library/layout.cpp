#include <fstream>
#include <iostream>
#include <memory>

#include "library/layoutreader.h"
#include "library/libraryassembly.h"
#include "library/librarywriter.h"
#include "library/speakerdecoder.h"
#include "slib/exception.h"
#include "tools/library/commands.h"
#include "tools/library/opening.h"
#include "tools/support/progress.h"

namespace tool {
namespace {

constexpr const char* examples =
    R"(The file has a name and a line for each speaker, in the order of the device's channels:
  name: Attic
  Front Left:  azimuth 30, distance 2.4, role FrontLeft
  Front Right: azimuth -30, distance 2.2, role FrontRight
  Ceiling:     azimuth 0, elevation 80, distance 1.1
  Back:        x -2, y 0.5, z 0.2
  Sub:         x 1.5, y 1, type Sub-Woofer, role BassLFE
Azimuths are degrees to the left, elevations degrees upwards; distances and x (ahead), y (left) and z (up) are metres.

Example:
  tessarune-library layout lib/default.afl attic.txt

The JSON layouts that tools for Ambisonic decoders write are read as well; gains in them are left to
'tessarune-config speakers set'.)";

void AddLayout(const std::string& path, const std::string& file) {
    std::ifstream stream(file);
    if (!stream) throw slib::OperatingSystemErrnoException("Unable to open '" + file + "'.");
    const design::SpeakerLayout layout = design::ReadLayout(stream, file);
    const auto library = OpenToChange(path);
    RateOf(*library);
    {
        const Progress progress("Designing the decoders of '" + layout.name + "'");
        design::AddSpeakerLayout(layout, design::BaseRates(*library), *library);
        library->commit();
    }
    std::cout << "'" << layout.name << "' with " << layout.speakers.size() << " speakers, by";
    for (const design::SpeakerMethod method : design::MethodsFor(layout))
        std::cout << " " << design::DescribeMethod(method).tag;
    std::cout << "\n";
}

}  // namespace

void AddLayoutCommand(Program& program) {
    CommandLine* command = program.AddCommand("layout", "Add a room to a library from a file of speakers.");
    command->SetFooter(examples);
    const auto path = std::make_shared<std::string>();
    const auto file = std::make_shared<std::string>();
    command->AddOption("LIBRARY", *path, "The library, .afl or .dfl")->Require();
    command->AddOption("FILE", *file, "The description of the speakers")->Require()->TakeExistingFile();
    command->OnUse([path, file] { AddLayout(*path, *file); });
}

}  // namespace tool
