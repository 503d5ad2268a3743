#include "tools/config/roomstore.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "library/libraryassembly.h"
#include "library/librarywriter.h"
#include "orb3core/acoustics/acousticfactory.h"
#include "orb3core/library/formatlibraries.h"
#include "slib/exception.h"
#include "slib/text.h"
#include "tools/config/commands.h"
#include "tools/config/machine.h"

namespace tool {

void StoreRoom(const design::SpeakerLayout& room) {
    const orb3::aspace::BasicAcousticFactory acoustics;
    ErrorsToTerminal log;
    const std::string path = FormatLibrary(log).path;
    if (slib::toUpper(std::filesystem::path(path).extension().string()) == ".PFL")
        throw slib::BadDataException(
            "A format library in one file can't be changed. 'tessarune-library pack " + path +
            " FOLDER/NAME.afl' makes one that can.");
    const std::unique_ptr<orb3::fl::FormatRegistrar> library =
        orb3::fl::createLibrarian(path, acoustics, nullptr, false);
    const std::vector<int> rates = design::BaseRates(*library);
    if (rates.empty())
        throw slib::BadDataException("The format library '" + path + "' holds no transforms. Build it anew.");
    design::AddSpeakerLayout(room, rates, *library);
    library->commit();
}

}  // namespace tool
