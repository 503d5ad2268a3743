#include "orb3core/library/formatlibraries.h"

#include <filesystem>
#include <utility>

#include "orb3core/library/directoryformatlibrarian.h"
#include "orb3core/library/libraryfiles.h"
#include "orb3core/library/pakformatlibrarian.h"
#include "platform/cachelocation.h"
#include "slib/exception.h"
#include "slib/productname.h"
#include "slib/text.h"

namespace orb3::fl {
namespace {

constexpr double sincTruncation = 0.025;  // of the rate, wide enough for short filters

// An installed library's folder is often one that only the superuser writes to.
std::unique_ptr<FormatRegistrar> OpenPAKLibrary(const std::string& path,
                                                const aspace::AcousticFactory& factory, slib::Log* log) {
    try {
        return std::make_unique<PAKFormatLibrarian>(path, FolderOf(path), factory);
    } catch (const slib::OperatingSystemErrnoException& failure) {
        const std::filesystem::path cache = platform::UserCachePath(slib::productFolder);
        if (cache.empty()) throw;
        auto library = std::make_unique<PAKFormatLibrarian>(path, cache.string(), factory);
        if (log != nullptr)
            log->Write("Using '" + cache.string() + "' for generated transforms. " + failure.what(), false);
        return library;
    }
}

}  // namespace

std::unique_ptr<FormatRegistrar> createLibrarian(const std::string& path,
                                                 const aspace::AcousticFactory& factory, slib::Log* log,
                                                 bool saveOnDestroy) {
    const std::string extension = slib::toUpper(std::filesystem::path(path).extension().string());
    if (extension == ".DFL")
        return std::make_unique<DirectoryBasedFormatLibrarian>(path, "", factory, saveOnDestroy, false);
    if (extension == ".AFL")
        return std::make_unique<DirectoryBasedFormatLibrarian>(path, "", factory, saveOnDestroy, true);
    if (extension == ".PFL") return OpenPAKLibrary(path, factory, log);
    throw slib::BadParameterException("Unable to prepare Format Librarian.");
}

slib::SmartPtr<ProcessingFormatLibrarian, slib::ThreadsafeCounter> openFormatLibrary(
    const std::string& path, const aspace::AcousticFactory& factory, slib::Log* log, bool readOnly,
    bool saveOnDestroy) {
    std::unique_ptr<FormatRegistrar> stored = createLibrarian(path, factory, log, saveOnDestroy);
    FormatRegistrar* registrar = readOnly ? nullptr : stored.get();
    slib::SmartPtr<FormatLibrarian, slib::ThreadsafeCounter> library(stored.release());
    return slib::SmartPtr<ProcessingFormatLibrarian, slib::ThreadsafeCounter>(
        new ProcessingFormatLibrarian(std::move(library), registrar, sincTruncation, log, true));
}

}  // namespace orb3::fl
