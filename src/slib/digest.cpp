#include "slib/digest.h"

#include <sys/types.h>

#include <md5.h>

namespace slib {

std::array<std::uint8_t, 16> md5(std::string_view text) {
    std::array<std::uint8_t, 16> digest{};
    MD5_CTX context;
    MD5Init(&context);
    MD5Update(&context, reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    MD5Final(digest.data(), &context);
    return digest;
}

std::string hexText(std::span<const std::uint8_t> bytes) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    text.reserve(2 * bytes.size());
    for (const std::uint8_t byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

}  // namespace slib
