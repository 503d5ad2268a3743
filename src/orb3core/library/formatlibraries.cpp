#include "orb3core/library/formatlibraries.h"

#include <filesystem>
#include <utility>

#include "orb3core/library/directoryformatlibrarian.h"
#include "orb3core/library/layeredlibrarian.h"
#include "orb3core/library/libraryfiles.h"
#include "orb3core/library/pakformatlibrarian.h"
#include "platform/cachelocation.h"
#include "platform/privileges.h"
#include "platform/storelocation.h"
#include "slib/digest.h"
#include "slib/exception.h"
#include "slib/files.h"
#include "slib/productname.h"
#include "slib/text.h"

namespace orb3::fl {
namespace {

using RegistrarPtr = std::unique_ptr<FormatRegistrar>;
using ProcessingPtr = slib::SmartPtr<ProcessingFormatLibrarian, slib::ThreadsafeCounter>;

constexpr double sincTruncation = 0.025;  // of the rate, wide enough for short filters

enum class Kind { Plain, Packed, SingleFile };

Kind KindOf(const std::string& path) {
    const std::string extension = slib::toUpper(std::filesystem::path(path).extension().string());
    if (extension == ".DFL") return Kind::Plain;
    if (extension == ".AFL") return Kind::Packed;
    if (extension == ".PFL") return Kind::SingleFile;
    throw slib::BadParameterException("Unable to prepare Format Librarian.");
}

// The folder of the user's caches, with a separator at its end, ready to be written to; or nothing.
std::string CacheRoot() {
    const std::filesystem::path cache = platform::UserCachePath(slib::productFolder);
    if (cache.empty() || platform::HasMoreRightsThanItsCaller()) return "";
    try {
        slib::createDirectories(cache.string());
    } catch (const slib::OperatingSystemErrnoException&) {
        return "";
    }
    return platform::CanWriteInto(cache) ? cache.string() + "/" : "";
}

// A library that is left as it is: what is generated goes to the folder `cacheRoot`, or nowhere.
RegistrarPtr OpenUnchanged(const std::string& path, const std::string& cacheRoot,
                           const aspace::AcousticFactory& factory) {
    const Kind kind = KindOf(path);
    if (kind != Kind::SingleFile)
        return std::make_unique<DirectoryBasedFormatLibrarian>(path, cacheRoot, factory, false,
                                                               kind == Kind::Packed);
    if (cacheRoot.empty()) return std::make_unique<PAKFormatLibrarian>(path, factory);
    return std::make_unique<PAKFormatLibrarian>(path, cacheRoot, factory);
}

struct Opened {
    RegistrarPtr library;
    bool keepsWhatIsGenerated;
};

// Leaves the library as it is, and keeps what is generated among the user's caches, if anywhere.
Opened OpenWithUsersCache(const std::string& path, const std::string& reason,
                          const aspace::AcousticFactory& factory, slib::Log* log) {
    const std::string cacheRoot = CacheRoot();
    Opened opened{OpenUnchanged(path, cacheRoot, factory), !cacheRoot.empty()};
    if (opened.keepsWhatIsGenerated && log != nullptr)
        log->Write(
            "Using '" + cacheRoot.substr(0, cacheRoot.size() - 1) + "' for generated transforms." + reason,
            false);
    return opened;
}

Opened OpenPAKLibrary(const std::string& path, const aspace::AcousticFactory& factory, slib::Log* log) {
    if (platform::HasMoreRightsThanItsCaller()) return {OpenUnchanged(path, "", factory), false};
    try {
        return {std::make_unique<PAKFormatLibrarian>(path, FolderOf(path), factory), true};
    } catch (const slib::OperatingSystemErrnoException& failure) {
        return OpenWithUsersCache(path, std::string(" ") + failure.what(), factory, log);
    }
}

RegistrarPtr OpenDirectoryLibrary(const std::string& path, const aspace::AcousticFactory& factory,
                                  bool saveOnDestroy) {
    return std::make_unique<DirectoryBasedFormatLibrarian>(path, "", factory, saveOnDestroy,
                                                           KindOf(path) == Kind::Packed);
}

// An installed library's folder is often one that only the superuser writes to.
Opened OpenToKeep(const std::string& path, const aspace::AcousticFactory& factory, slib::Log* log,
                  bool saveOnDestroy) {
    if (KindOf(path) == Kind::SingleFile) return OpenPAKLibrary(path, factory, log);
    if (!platform::CanWriteInto(FolderOf(path))) return OpenWithUsersCache(path, "", factory, log);
    return {OpenDirectoryLibrary(path, factory, saveOnDestroy), true};
}

ProcessingPtr Processing(RegistrarPtr stored, bool isKept, slib::Log* log) {
    FormatRegistrar* registrar = isKept ? stored.get() : nullptr;
    slib::SmartPtr<FormatLibrarian, slib::ThreadsafeCounter> library(stored.release());
    return ProcessingPtr(
        new ProcessingFormatLibrarian(std::move(library), registrar, sincTruncation, log, true));
}

// So that nothing that is found only later ends the sound.
void ReadAll(const FormatLibrarian& library) {
    for (std::uint32_t i = 0; i < library.getConversionCount(); ++i) {
        hcml::GenericVector<int, 1> rates;
        library.getSampleRates(i, rates);
        for (const int rate : rates) {
            TransformStatus status;
            library.getTransformStatus(i, rate, status);
            strans::TimeDomainTransform<float, 1> transform;
            if (!status.generated) library.getTransform(i, rate, transform);
        }
    }
}

// What is generated from both libraries holds for this content of the system's.
std::string StateOf(const std::string& path) {
    std::error_code ignored;
    const auto changed = std::filesystem::last_write_time(path, ignored).time_since_epoch().count();
    const auto size = std::filesystem::file_size(path, ignored);
    return slib::hexText(slib::md5(path + "\n" + std::to_string(size) + "\n" + std::to_string(changed)));
}

RegistrarPtr OpenOwn(const std::string& path, const std::string& cacheRoot,
                     const aspace::AcousticFactory& factory, slib::Log* log) {
    try {
        RegistrarPtr library = OpenUnchanged(path, cacheRoot, factory);
        ReadAll(*library);
        return library;
    } catch (const std::exception& failure) {
        if (log != nullptr)
            log->Write(
                "The user's format library '" + path + "' can't be used and is left aside. " + failure.what(),
                true);
        return nullptr;
    }
}

}  // namespace

RegistrarPtr createLibrarian(const std::string& path, const aspace::AcousticFactory& factory, slib::Log* log,
                             bool saveOnDestroy) {
    if (KindOf(path) == Kind::SingleFile) return OpenPAKLibrary(path, factory, log).library;
    return OpenDirectoryLibrary(path, factory, saveOnDestroy);
}

ProcessingPtr openFormatLibrary(const std::string& path, const aspace::AcousticFactory& factory,
                                slib::Log* log, bool readOnly, bool saveOnDestroy) {
    if (readOnly) return Processing(createLibrarian(path, factory, log, saveOnDestroy), false, log);
    Opened opened = OpenToKeep(path, factory, log, saveOnDestroy);
    return Processing(std::move(opened.library), opened.keepsWhatIsGenerated, log);
}

std::string OwnLibraryPath() {
    if (platform::HasMoreRightsThanItsCaller()) return "";
    const std::filesystem::path folder = platform::UserDataPath(slib::productFolder);
    return folder.empty() ? "" : folder / "Library" / "User.dfl";
}

ProcessingPtr OpenLayeredLibrary(const std::string& path, const std::string& ownPath,
                                 const aspace::AcousticFactory& factory, slib::Log* log, bool readOnly,
                                 bool saveOnDestroy) {
    if (ownPath.empty() || !slib::fileExists(ownPath))
        return openFormatLibrary(path, factory, log, readOnly, saveOnDestroy);
    const std::string cacheRoot = readOnly ? "" : CacheRoot();
    const std::string ownRoot = cacheRoot.empty() ? "" : cacheRoot + StateOf(path) + "-";
    RegistrarPtr own = OpenOwn(ownPath, ownRoot, factory, log);
    if (!own) return openFormatLibrary(path, factory, log, readOnly, saveOnDestroy);
    auto both = std::make_unique<LayeredLibrarian>(OpenUnchanged(path, cacheRoot, factory), std::move(own));
    return Processing(std::move(both), !cacheRoot.empty(), log);
}

std::unique_ptr<LayeredLibrarian> OpenOwnLibraryToChange(const std::string& path, const std::string& ownPath,
                                                         const aspace::AcousticFactory& factory) {
    if (ownPath.empty())
        throw slib::BadStateException("There is no home in which a format library of your own could be.");
    RegistrarPtr system = OpenUnchanged(path, "", factory);
    if (!slib::fileExists(ownPath)) CreateDirectoryLibrary(ownPath, "User", false);
    RegistrarPtr own;
    try {
        own = OpenUnchanged(ownPath, "", factory);
        ReadAll(*own);
    } catch (const std::exception& failure) {
        throw slib::BadDataException("Your own format library '" + ownPath + "' can't be used: " +
                                     failure.what() + " Move its folder away, and add again what it held.");
    }
    return std::make_unique<LayeredLibrarian>(std::move(system), std::move(own));
}

}  // namespace orb3::fl
