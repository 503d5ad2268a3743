#include "orb3core/library/packeddescription.h"

#include <array>
#include <cstddef>

#include "slib/exception.h"

namespace orb3::fl {
namespace {

constexpr std::string_view packedMagic = "AFL1";
constexpr std::size_t comparedLength = 3;  // of the magic; any version is taken

constexpr std::array<unsigned char, 5> descriptionKey{0x9D, 0x36, 0xE1, 0x5B, 0xC8};
constexpr unsigned char indexKey = 0xF7;

char Scrambled(char byte, unsigned char key) {
    return static_cast<char>(static_cast<unsigned char>(byte) ^ key);
}

// Undoes itself.
std::string ScrambleDescription(std::string_view text) {
    std::string result(text);
    for (std::size_t i = 0; i < result.size(); ++i)
        result[i] = Scrambled(result[i], descriptionKey[i % descriptionKey.size()]);
    return result;
}

}  // namespace

std::string PackDescription(std::string_view text) {
    return std::string(packedMagic) + ScrambleDescription(text);
}

std::string UnpackDescription(std::string_view bytes) {
    if (bytes.size() < packedMagic.size() || !bytes.starts_with(packedMagic.substr(0, comparedLength)))
        throw slib::BadStateException("Incompatible format library format.");
    return ScrambleDescription(bytes.substr(packedMagic.size()));
}

std::string ScrambleIndex(std::string_view text) {
    std::string result;
    for (const char byte : text) {
        result += Scrambled(byte, indexKey);
        if (byte == 0 || result.back() == 0)
            throw slib::BadDataException("A format library's index holds a byte that can't be stored.");
    }
    return result;
}

std::string UnscrambleIndex(std::string_view bytes) {
    std::string result;
    for (const char byte : bytes.substr(0, bytes.find('\0'))) {
        const char plain = Scrambled(byte, indexKey);
        if (plain == 0) break;
        result += plain;
    }
    return result;
}

}  // namespace orb3::fl
