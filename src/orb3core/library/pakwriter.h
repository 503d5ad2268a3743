#pragma once

// Writes a library into one file, which PAKFormatLibrarian reads; its header says the form. For the tools
// that make libraries; no state.

#include <string>
#include <string_view>

#include "orb3core/library/formatlibrarian.h"
#include "orb3core/transform/transformform.h"

namespace orb3::fl {

constexpr std::string_view pakMagic = "PAK";  ///< a version byte follows
constexpr std::string_view pakRootLabel = "PAK";

/// Puts the whole of `library`, with its base transforms in `form`, in the place of the file `path`, or makes
/// it. What was generated is left out: the cache is the place for that. Throws what reading `library` throws,
/// slib::BadDataException for more than 4 GiB or a text that the index can't hold, and
/// slib::OperatingSystemErrnoException; the file then stays as it was.
void WritePAKLibrary(const FormatLibrarian& library, const std::string& path, strans::TransformForm form);

}  // namespace orb3::fl
