#pragma once

// Repairs of a store file's text before its parser sees it. The parser speaks up, on the game's standard
// error, about everything that it can't use; so what it can't use is taken out here, and it never has to.

#include <string>
#include <string_view>

namespace orb3 {

/// `text` with each byte that isn't part of a UTF-8 sequence (RFC 3629), and each NUL, replaced by U+FFFD.
std::string RepairUtf8(std::string_view text);

/// The lines of a store file that a parser of the form "[group]" and "key=value" takes without complaint, in
/// UTF-8 and one spelling: lines that never were such lines go, and so do blank ones, a byte order mark at
/// the front and stray text behind a header. A group that comes twice becomes one; a key that comes twice in
/// a group, in whatever case and escapes, keeps its first value. Backslashes and quotation marks that mean
/// nothing in their place are escaped. Repairing twice is the same as repairing once.
std::string RepairStoreText(std::string_view text);

}  // namespace orb3
