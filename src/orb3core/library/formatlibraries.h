#pragma once

// Opens format libraries of all kinds, by the extension of the path. For the server at the start of a run,
// and for the tools.

#include <memory>
#include <string>

#include "orb3core/acoustics/acousticfactory.h"
#include "orb3core/library/formatlibrarian.h"
#include "orb3core/library/layeredlibrarian.h"
#include "orb3core/library/processingformatlibrarian.h"
#include "slib/log.h"
#include "slib/smartptr.h"

namespace orb3::fl {

/// The stored library at `path`: "dfl" a folder's library, "afl" a packed one, "pfl" one in a single file, in
/// capitals or not. A library in a folder writes to its own files, with `saveOnDestroy` also when it is
/// destroyed. One in a single file keeps its cache in the same folder, or, where that can't be written to,
/// among the user's caches. `factory` and `log`, which may be null, are borrowed and outlive the library.
/// Throws slib::BadParameterException for another extension, and what the library's reading throws.
[[nodiscard]] std::unique_ptr<FormatRegistrar> createLibrarian(const std::string& path,
                                                               const aspace::AcousticFactory& factory,
                                                               slib::Log* log, bool saveOnDestroy);

/// The same, with all that can be made from what is stored. With `readOnly` nothing that was made is stored;
/// else, where the library's folder can't be written to, it is stored among the user's caches, or, where they
/// can't be written to, nowhere.
[[nodiscard]] slib::SmartPtr<ProcessingFormatLibrarian, slib::ThreadsafeCounter> openFormatLibrary(
    const std::string& path, const aspace::AcousticFactory& factory, slib::Log* log, bool readOnly,
    bool saveOnDestroy);

/// The description of the user's own library: `$XDG_DATA_HOME` (else `~/.local/share`)
/// `/HollowbrookLabs/Library/User.dfl`, whether or not it is there. Empty where there is no home, and in a
/// program with more rights than its caller, which uses none.
[[nodiscard]] std::string OwnLibraryPath();

/// The library at `path` as openFormatLibrary opens it, and, where there is a library at `ownPath`, that one
/// over it (LayeredLibrarian). Both are only read then; what is generated goes among the user's caches, or,
/// where they can't be written to, nowhere. A library at `ownPath` that can't be used, be it for one
/// transform, is left aside, and an error is logged. Throws what opening the library at `path` throws.
[[nodiscard]] slib::SmartPtr<ProcessingFormatLibrarian, slib::ThreadsafeCounter> OpenLayeredLibrary(
    const std::string& path, const std::string& ownPath, const aspace::AcousticFactory& factory,
    slib::Log* log, bool readOnly, bool saveOnDestroy);

/// The two for a program that changes the user's, which is made where there is none: changes go to it, and
/// commit writes them. Throws slib::BadStateException where `ownPath` is empty, what opening the library at
/// `path` throws, and slib::BadDataException for a library at `ownPath` that can't be used.
[[nodiscard]] std::unique_ptr<LayeredLibrarian> OpenOwnLibraryToChange(
    const std::string& path, const std::string& ownPath, const aspace::AcousticFactory& factory);

}  // namespace orb3::fl
