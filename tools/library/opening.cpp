#include "tools/library/opening.h"

#include <algorithm>
#include <filesystem>
#include <vector>

#include "library/librarywriter.h"
#include "orb3core/store/configstore.h"
#include "slib/exception.h"
#include "slib/text.h"

namespace tool {
namespace {

const orb3::aspace::BasicAcousticFactory acoustics;

std::string ExtensionOf(const std::string& path) {
    return slib::toUpper(std::filesystem::path(path).extension().string());
}

void CheckPath(const std::string& path) {
    const std::string extension = ExtensionOf(path);
    if (extension != ".AFL" && extension != ".DFL" && extension != ".PFL")
        throw slib::BadDataException("A library must be an .afl, .dfl or .pfl file, not '" + path + "'.");
    if (!std::filesystem::exists(path))
        throw slib::BadDataException("There is no library '" + path + "'. 'tessarune-library build " + path +
                                     "' makes one.");
}

}  // namespace

LibraryPtr OpenToRead(const std::string& path) {
    CheckPath(path);
    std::error_code ignored;
    const std::string own = orb3::fl::OwnLibraryPath(), system = orb3::ReadFormatLibraryPath();
    if (!system.empty() && std::filesystem::equivalent(path, own, ignored))
        return orb3::fl::OpenLayeredLibrary(system, own, acoustics, nullptr, true, false);
    return orb3::fl::openFormatLibrary(path, acoustics, nullptr, true, false);
}

std::unique_ptr<orb3::fl::FormatRegistrar> OpenToChange(const std::string& path) {
    CheckPath(path);
    if (ExtensionOf(path) == ".PFL")
        throw slib::BadDataException(
            "The library must be .afl or .dfl to be changed, not .pfl. "
            "'tessarune-library pack " +
            path + " FOLDER/NAME.afl' makes one.");
    return orb3::fl::createLibrarian(path, acoustics, nullptr, false);
}

int RateOf(const orb3::fl::FormatLibrarian& library) {
    const std::vector<int> rates = design::BaseRates(library);
    if (rates.empty()) throw slib::BadDataException("The library holds no transforms. Build it anew.");
    return std::ranges::find(rates, 48000) != rates.end() ? 48000 : rates.front();
}

}  // namespace tool
