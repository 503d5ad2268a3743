#pragma once

// Numbers and texts as bytes: whole numbers as groups of seven bits, the lowest first, of which all but the
// last have bit 7 set; signed ones as their distance from zero, twice, less one for those below; floats as
// their bits, the lowest byte first. Plain objects.

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include "slib/exception.h"

namespace recording {

/// Appends to a text.
class ByteWriter {
public:
    void Number(std::uint64_t value) {
        for (; value >= 0x80; value >>= 7)
            bytes += static_cast<char>(value | 0x80);
        bytes += static_cast<char>(value);
    }
    template <std::integral T>
    void Put(T value) {
        const std::int64_t number = sizeof(T) == 1 ? static_cast<unsigned char>(value) : value;
        const auto twice = static_cast<std::uint64_t>(number) << 1;
        Number(number < 0 ? ~twice : twice);
    }
    template <std::floating_point T>
    void Put(T value) {
        using Bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
        auto bits = std::bit_cast<Bits>(value);
        for (std::size_t i = 0; i < sizeof bits; ++i, bits >>= 8)
            bytes += static_cast<char>(bits & 0xFF);
    }
    void Text(std::string_view text) {
        Number(text.size());
        bytes += text;
    }

    std::string bytes;
};

/// Takes from the front of a text, which outlives it. All throw slib::BadDataException where the text ends
/// too soon or a number doesn't fit.
class ByteReader {
public:
    explicit ByteReader(std::string_view bytes) : bytes(bytes) {}

    bool IsAtEnd() const { return bytes.empty(); }
    std::size_t Left() const { return bytes.size(); }

    std::uint64_t Number() {
        std::uint64_t value = 0;
        for (unsigned shift = 0; shift < 64; shift += 7) {
            const std::uint64_t byte = Byte();
            value |= (byte & 0x7F) << shift;
            if (byte < 0x80) return value;
        }
        throw slib::BadDataException("A number of the recording has too many bytes.");
    }
    template <std::integral T>
    T Take() {
        const std::uint64_t twice = Number();
        const auto half = static_cast<std::int64_t>(twice >> 1);
        return static_cast<T>((twice & 1) != 0 ? ~half : half);
    }
    template <std::floating_point T>
    T Take() {
        using Bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
        Bits bits = 0;
        for (std::size_t i = 0; i < sizeof bits; ++i)
            bits |= static_cast<Bits>(Byte()) << (8 * i);
        return std::bit_cast<T>(bits);
    }
    std::string_view Bytes(std::uint64_t count) {
        if (count > bytes.size()) ThrowCut();
        const std::string_view taken = bytes.substr(0, static_cast<std::size_t>(count));
        bytes.remove_prefix(taken.size());
        return taken;
    }
    std::string_view Text() { return Bytes(Number()); }

private:
    [[noreturn]] static void ThrowCut() {
        throw slib::BadDataException("A record of the recording ends too soon.");
    }
    std::uint8_t Byte() {
        if (bytes.empty()) ThrowCut();
        const auto byte = static_cast<std::uint8_t>(bytes.front());
        bytes.remove_prefix(1);
        return byte;
    }

    std::string_view bytes;
};

}  // namespace recording
