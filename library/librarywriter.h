#pragma once

// Puts whole libraries into folders, so that no reader ever sees half of one, and copies libraries. Called by
// the program that makes libraries; free functions, on one thread.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "orb3core/library/formatlibrarian.h"

namespace design {

/// Makes the library with the description `path`, whose extension is "dfl" (plain) or "afl" (packed), with
/// what `fill` stores in it. Folders that are missing are made. A library that was there is replaced when
/// everything is written; until then, and if anything fails, it stays as it was. Throws
/// slib::BadParameterException for another extension, slib::BadDataException when what is at `path` is no
/// library, std::filesystem::filesystem_error, and what `fill` and the library throw.
void WriteLibrary(const std::string& path, const std::function<void(orb3::fl::FormatRegistrar&)>& fill);

/// Stores all that `from` holds, its base transforms and not what was generated from them, in `to`. Throws
/// what reading and storing throw.
void CopyLibrary(const orb3::fl::FormatLibrarian& from, orb3::fl::FormatRegistrar& to);

/// Erases conversion `index` with its transforms. Throws what the library throws.
void EraseConversion(orb3::fl::FormatRegistrar& library, std::uint32_t index);

/// The rates in Hz, ascending, that any conversion of the library has base transforms at.
std::vector<int> BaseRates(const orb3::fl::FormatLibrarian& library);

/// The rates in Hz, ascending, of the base transforms of conversion `index`.
std::vector<int> BaseRates(const orb3::fl::FormatLibrarian& library, std::uint32_t index);

}  // namespace design
