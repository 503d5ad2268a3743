#pragma once

// How all commands open the library that they are given. On the main thread.

#include <memory>
#include <string>

#include "orb3core/library/formatlibraries.h"

namespace tool {

using LibraryPtr = slib::SmartPtr<orb3::fl::ProcessingFormatLibrarian, slib::ThreadsafeCounter>;

/// The library at `path`, with all that can be made from it; nothing is written. The user's own comes with
/// the system's below it, which its chains lead over. Throws
/// slib::BadDataException with a hint where there is no library, and what opening throws.
LibraryPtr OpenToRead(const std::string& path);

/// The library in the folder of `path`, to be changed and committed.
std::unique_ptr<orb3::fl::FormatRegistrar> OpenToChange(const std::string& path);

/// The rate in Hz that figures are taken at: 48000 where the library has it, else its lowest. Throws
/// slib::BadDataException for a library without transforms.
int RateOf(const orb3::fl::FormatLibrarian& library);

}  // namespace tool
