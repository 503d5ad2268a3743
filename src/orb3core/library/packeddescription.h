#pragma once

// The scrambling of library descriptions. It keeps curious players from editing the catalogue of an installed
// library, and is no secret. Used by the librarians and by the writers of libraries; no state.

#include <string>
#include <string_view>

namespace orb3::fl {

/// A directory library's packed description: "AFL1" and the scrambled text.
std::string PackDescription(std::string_view text);

/// The text of a packed description. Throws slib::BadStateException for bytes that aren't one.
std::string UnpackDescription(std::string_view bytes);

/// The scrambled index of a library in one file. Throws slib::BadDataException for a text whose end couldn't
/// be found: with a zero byte, or with the one byte, never found in UTF-8, that becomes zero.
std::string ScrambleIndex(std::string_view text);

/// The text of a scrambled index, up to the first zero byte on either side.
std::string UnscrambleIndex(std::string_view bytes);

}  // namespace orb3::fl
