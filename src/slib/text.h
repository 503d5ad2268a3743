#pragma once

// Text and numbers of stored documents: parsing and formatting that read and write the same bytes whatever
// locale the host program has set, in C or in C++. Used by all readers and writers of documents. No state;
// usable from any thread.

#include <string>
#include <string_view>

namespace slib {

/// True for blank, tab, line feed, vertical tab, form feed and carriage return.
[[nodiscard]] bool IsSpace(char c);

/// True for "True", false for "False". Throws BadDataException for anything else; the comparison is exact.
[[nodiscard]] bool ParseBool(std::string_view text);

/// "True" or "False".
[[nodiscard]] std::string FormatBool(bool value);

/// Reads a decimal integer as C's `atoi` does: leading white space, an optional sign, digits, and anything
/// after them is ignored; no digits give 0. A value that doesn't fit is clamped to the range of int.
[[nodiscard]] int ParseInt(std::string_view text);

/// Reads a number as C's `atof` does in the "C" locale: leading white space, an optional sign, a decimal or
/// hexadecimal number, an infinity or a NaN, and anything after it is ignored; no number gives 0. What is too
/// large becomes an infinity, what is too small becomes 0.
[[nodiscard]] double ParseDouble(std::string_view text);

/// As ParseDouble, for values that go on into arithmetic: an infinity becomes the largest finite double of
/// its sign, and a NaN reads as 0, like any other text that isn't a number.
[[nodiscard]] double ParseFiniteDouble(std::string_view text);

/// As ParseFiniteDouble, with the limits of float.
[[nodiscard]] float ParseFiniteFloat(std::string_view text);

/// Decimal digits with a leading "-" where needed.
[[nodiscard]] std::string FormatNumber(int value);

/// The shorter of fixed and scientific notation ("%.Ng"). Six significant digits are what a std::ostream
/// writes by default. `significantDigits` is 1 to 17.
[[nodiscard]] std::string FormatNumber(double value, int significantDigits = 6);

/// Copies of `text` with the letters a to z, or A to Z, in the other case; other bytes stay, in whatever
/// locale.
[[nodiscard]] std::string toUpper(std::string_view text);
[[nodiscard]] std::string toLower(std::string_view text);

/// Compares two texts byte by byte, where A to Z equal a to z.
[[nodiscard]] bool EqualIgnoringCase(std::string_view a, std::string_view b);

/// The letters A to Z and a to z and the digits of `text`, in order: a name for people made into one for
/// stored documents.
[[nodiscard]] std::string KeepAlphanumeric(std::string_view text);

/// Compares two names byte by byte, leaving out on both sides white space and everything from a "(" to the
/// next ")", or to the end if none follows.
[[nodiscard]] bool sameIgnoringSpaceAndParentheses(std::string_view a, std::string_view b);

}  // namespace slib
