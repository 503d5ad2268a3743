#pragma once

// Numbers in the bytes of stored files, lowest byte first whatever the machine's own order. Inline, for
// loops over samples: compilers make one load or store of each. No state; usable from any thread.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

namespace orb3::strans {

/// The number of type T, an unsigned integer, float or double, in the sizeof(T) bytes at `from`.
template <typename T>
T LoadLittleEndian(const unsigned char* from) {
    if constexpr (std::is_floating_point_v<T>) {
        using Bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
        return std::bit_cast<T>(LoadLittleEndian<Bits>(from));
    } else {
        T value = 0;
        for (std::size_t i = 0; i < sizeof(T); ++i)
            value |= static_cast<T>(T{from[i]} << (8 * i));
        return value;
    }
}

/// Appends the sizeof(T) bytes of `value`, of a type as above.
template <typename T>
void AppendLittleEndian(std::string& bytes, T value) {
    if constexpr (std::is_floating_point_v<T>) {
        using Bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
        AppendLittleEndian(bytes, std::bit_cast<Bits>(value));
    } else {
        for (std::size_t i = 0; i < sizeof(T); ++i)
            bytes += static_cast<char>(value >> (8 * i) & 0xFF);
    }
}

}  // namespace orb3::strans
