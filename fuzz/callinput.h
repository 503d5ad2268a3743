#pragma once

// The bytes of the engine as a stream of small decisions, and the values that the calls are tried with. Used
// by the calls target, on its one thread.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <span>

namespace calls {

/// Bytes from the front; zeros when there are no more.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : bytes(data, size) {}

    bool IsAtEnd() const { return bytes.empty(); }

    std::uint8_t Byte() {
        if (bytes.empty()) return 0;
        const std::uint8_t byte = bytes.front();
        bytes = bytes.subspan(1);
        return byte;
    }

    std::uint32_t Word() {
        std::uint32_t word = 0;
        for (int i = 0; i < 4; ++i)
            word = word << 8 | Byte();
        return word;
    }

    std::int32_t Integer() { return static_cast<std::int32_t>(Word()); }

    /// One of the table's values by one byte.
    template <typename Table>
    auto Pick(const Table& table) {
        return table[Byte() % std::size(table)];
    }

private:
    std::span<const std::uint8_t> bytes;
};

inline constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
inline constexpr std::int32_t greatest = std::numeric_limits<std::int32_t>::max();

/// Beyond what a call takes as a list of names: to be refused before the list is read.
inline constexpr std::int32_t tooLong = (1 << 20) + 1;

inline constexpr float infinity = std::numeric_limits<float>::infinity();

/// In and at the edge of the ranges of the parameters, and everything that a float may be besides.
// clang-format off
inline constexpr float floats[] = {
    0.0F, 1.0F, 0.5F, 0.25F, 0.1F, 0.02F, 0.9F, 0.95F, 2.0F, 3.0F, 9.0F, 10.0F, 20.0F, 90.0F, 180.0F,
    360.0F, 100.0F, 500.0F, 1000.0F, 4000.0F, 8000.0F, 20000.0F, 22050.0F, 65536.0F, -1.0F, -0.5F,
    -0.0F, 1.00001F, 10.00001F, 360.0001F, 1e-4F, 1e-30F, -1e-30F, 1e10F, 2147483648.0F, -3e9F,
    4294967296.0F, 1e19F, -1e19F, std::numeric_limits<float>::max(), infinity, -infinity,
    std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::lowest(),
    std::numeric_limits<float>::min(), std::numeric_limits<float>::denorm_min()};
// clang-format on

inline constexpr std::int32_t integers[] = {
    0,     1,         2,       3,     4,      5,      7,      10,       11,
    64,    65,        90,      100,   360,    361,    1000,   8000,     20000,
    65536, -1,        -2,      -360,  0x8000, 0x9000, 0x9001, greatest, greatest - 1,
    least, least + 1, 1 << 24, 0x1012};

/// Lengths of lists of names.
inline constexpr std::int32_t counts[] = {1, 2, 1, 3, 0, 1, 4, 8, -1, least, greatest, tooLong};

/// Names that no table has, or not always.
inline constexpr std::uint32_t oddNames[] = {0, 1, 2, 65536, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};

/// Indices of a source's sends. Those from 65536 on don't fit; the largest before it fit, but cost time.
inline constexpr std::int32_t sendIndices[] = {0, 1, 2, 3, 4, 5, 40, -1, least, 65536, greatest};

/// Whole blocks of sample data.
inline constexpr std::int32_t blockCounts[] = {1, 10, 100, 2, 0, 3, 65, 200};

inline float AnyFloat(Input& input) {
    const std::uint8_t choice = input.Byte();
    return choice < 240 ? floats[choice % std::size(floats)] : std::bit_cast<float>(input.Word());
}

inline std::int32_t AnyInteger(Input& input) {
    const std::uint8_t choice = input.Byte();
    return choice < 240 ? integers[choice % std::size(integers)] : input.Integer();
}

}  // namespace calls
