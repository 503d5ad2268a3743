#pragma once

// Opens format libraries of all kinds, by the extension of the path. For the server at the start of a run,
// and for the tools.

#include <memory>
#include <string>

#include "orb3core/acoustics/acousticfactory.h"
#include "orb3core/library/formatlibrarian.h"
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

/// The same, with all that can be made from what is stored. With `readOnly` nothing that was made is stored.
[[nodiscard]] slib::SmartPtr<ProcessingFormatLibrarian, slib::ThreadsafeCounter> openFormatLibrary(
    const std::string& path, const aspace::AcousticFactory& factory, slib::Log* log, bool readOnly,
    bool saveOnDestroy);

}  // namespace orb3::fl
