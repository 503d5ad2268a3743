#include "library/librarywriter.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <set>

#include "orb3core/library/directoryformatlibrarian.h"
#include "orb3core/library/libraryfiles.h"
#include "slib/exception.h"
#include "slib/text.h"

namespace design {
namespace {

namespace fs = std::filesystem;
using orb3::fl::Conversion;
using orb3::fl::DirectoryBasedFormatLibrarian;
using orb3::fl::FormatLibrarian;
using orb3::fl::FormatRegistrar;
using orb3::fl::LibraryLock;

const orb3::aspace::BasicAcousticFactory acoustics;

std::string ExtensionOf(const fs::path& path) {
    return slib::toUpper(path.extension().string());
}

bool IsPacked(const fs::path& path) {
    const std::string extension = ExtensionOf(path);
    if (extension != ".AFL" && extension != ".DFL")
        throw slib::BadParameterException("A library in a folder ends in .afl or .dfl, unlike '" +
                                          path.filename().string() +
                                          "'. One in a single file, .pfl, is packed from such a one.");
    return extension == ".AFL";
}

// The transforms of two libraries in one folder would have the same names.
void CheckAlone(const fs::path& path) {
    if (!fs::exists(path.parent_path())) return;
    for (const fs::directory_entry& other : fs::directory_iterator(path.parent_path()))
        if (ExtensionOf(other.path()) == ExtensionOf(path) && other.path().filename() != path.filename())
            throw slib::BadDataException("The library '" + other.path().filename().string() +
                                         "' lives in that folder already. Give '" + path.filename().string() +
                                         "' a folder of its own.");
}

void Clear(FormatRegistrar& library) {
    for (std::uint32_t i = library.getConversionCount(); i-- > 0;)
        EraseConversion(library, i);
    for (std::uint32_t i = library.getMethodCount(); i-- > 0;) {
        orb3::fl::Method method;
        library.getMethod(i, method);
        library.eraseMethod(method.tag);
    }
    for (std::uint32_t i = library.getFormatCount(); i-- > 0;) {
        orb3::fl::Format format;
        library.getFormat(i, format);
        library.eraseFormat(format.tag);
    }
}

using Fill = std::function<void(FormatRegistrar&)>;

// The commit replaces the one library by the other.
void Replace(const fs::path& path, const Fill& fill) {
    std::optional<DirectoryBasedFormatLibrarian> library;
    try {
        library.emplace(path.string(), "", acoustics, false, IsPacked(path));
    } catch (const slib::StringException& failure) {
        throw slib::BadDataException("'" + path.string() +
                                     "' can't be replaced, for it is no library that can be read: " +
                                     failure.what() + " Move it away first.");
    }
    Clear(*library);
    fill(*library);
    library->commit();
}

// Moves the files of a library, its description last.
void Move(const fs::path& from, const fs::path& to) {
    std::vector<fs::path> transforms;
    for (const fs::directory_entry& file : fs::directory_iterator(from.parent_path()))
        if (file.path() != from && file.path().extension() != ".lock") transforms.push_back(file.path());
    for (const fs::path& file : transforms)
        fs::rename(file, to.parent_path() / file.filename());
    fs::rename(from, to);
}

void MakeNew(const fs::path& path, const Fill& fill) {
    const fs::path workshop = path.parent_path() / (path.filename().string() + ".new");
    fs::remove_all(workshop);  // of a process that was killed
    try {
        const fs::path draft = workshop / path.filename();
        orb3::fl::CreateDirectoryLibrary(draft.string(), "", IsPacked(path));
        DirectoryBasedFormatLibrarian library(draft.string(), "", acoustics, false, IsPacked(path));
        fill(library);
        library.commit();
        Move(draft, path);
    } catch (...) {
        std::error_code ignored;
        fs::remove_all(workshop, ignored);
        throw;
    }
    fs::remove_all(workshop);
}

}  // namespace

void WriteLibrary(const std::string& path, const Fill& fill) {
    const fs::path whole = fs::absolute(path);
    IsPacked(whole);
    CheckAlone(whole);
    if (!fs::exists(whole)) {
        fs::create_directories(whole.parent_path());
        const LibraryLock lock(whole.string());
        if (!fs::exists(whole)) return MakeNew(whole, fill);
    }
    Replace(whole, fill);
}

void CopyLibrary(const FormatLibrarian& from, FormatRegistrar& to) {
    to.setTag(from.getTag());
    for (std::uint32_t i = 0; i < from.getFormatCount(); ++i) {
        orb3::fl::Format format;
        from.getFormat(i, format);
        to.storeFormat(format);
    }
    for (std::uint32_t i = 0; i < from.getMethodCount(); ++i) {
        orb3::fl::Method method;
        from.getMethod(i, method);
        to.storeMethod(method);
    }
    for (std::uint32_t i = 0; i < from.getConversionCount(); ++i) {
        Conversion conversion;
        from.getConversion(i, conversion);
        to.storeConversion(conversion);
        for (const int rate : BaseRates(from, i)) {
            orb3::strans::TimeDomainTransform<double, 1> transform;
            from.getTransform(i, rate, transform);
            to.storeTransform(conversion, {.possible = true}, transform);
        }
    }
}

void EraseConversion(FormatRegistrar& library, std::uint32_t index) {
    Conversion conversion;
    library.getConversion(index, conversion);
    hcml::GenericVector<int, 1> rates;
    library.getSampleRates(index, rates);
    for (const int rate : rates)
        library.eraseTransform(conversion, rate);
    library.eraseConversion(conversion);
}

std::vector<int> BaseRates(const FormatLibrarian& library, std::uint32_t index) {
    hcml::GenericVector<int, 1> rates;
    library.getSampleRates(index, rates);
    std::vector<int> base;
    for (const int rate : rates) {
        orb3::fl::TransformStatus status;
        library.getTransformStatus(index, rate, status);
        if (status.possible && !status.generated) base.push_back(rate);
    }
    return base;
}

std::vector<int> BaseRates(const FormatLibrarian& library) {
    std::set<int> rates;
    for (std::uint32_t i = 0; i < library.getConversionCount(); ++i)
        for (const int rate : BaseRates(library, i))
            rates.insert(rate);
    return {rates.begin(), rates.end()};
}

}  // namespace design
