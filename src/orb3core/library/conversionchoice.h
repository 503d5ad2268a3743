#pragma once

// Which conversions of the format library decode a sound field for a format, and which of them serves an
// order. Called by layout selection, validation and the set-up of the output, on the caller's thread; no
// state.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "orb3core/library/formatlibrarian.h"

namespace orb3 {

/// The tag of the format with this name: its letters A to Z, made small, and its digits.
std::string MakeFormatTag(std::string_view formatName);

/// A conversion from an FSAScheme.
struct Decoder {
    std::uint32_t index = 0;  ///< in the library's list of conversions
    fl::Conversion conversion;
    std::uint32_t order = 0;  ///< of the scheme
};

/// All decoders for the format with this tag, in the library's order.
std::vector<Decoder> FindDecoders(const fl::FormatLibrarian& librarian, const std::string& formatTag);

/// The index of the decoder by the method with the tag `methodName` that has the lowest order from `order`
/// up; if there is none, the highest order. Throws slib::BadDataException when nothing decodes by it for the
/// format.
std::uint32_t FindConversion(const fl::FormatLibrarian& librarian, const std::string& formatName,
                             const std::string& methodName, std::uint32_t order);

}  // namespace orb3
