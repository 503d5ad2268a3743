#pragma once

// Digests, by which the format library names what it holds and sees whether it changed. They guard against
// mistakes, not against malice. No state; usable from any thread.

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace slib {

/// The MD5 digest (RFC 1321) of the bytes of `text`.
std::array<std::uint8_t, 16> md5(std::string_view text);

/// Each byte as two hexadecimal digits, upper case.
std::string hexText(std::span<const std::uint8_t> bytes);

}  // namespace slib
