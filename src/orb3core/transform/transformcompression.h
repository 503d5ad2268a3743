#pragma once

// The coding of a quantised impulse in a compressed transform: differences of an order that follows the
// signal segment by segment, in Rice codes (Rice, 1979). Lossless, for any values of 32 bits. Used by the
// reader and the writer of transforms only.
//
//     segment   of n < 16 values: leaf
//               of n >= 16 values: 0, leaf   or   1, segment of n/2, segment of the rest
//     leaf      0: all values are 0
//               1, order o in 2 bits (lower first), Rice group of the first o values, Rice group of the
//               rest; an empty group isn't there
//     group     k in 5 bits, then for each value, below k = 31: sign bit, the low k bits of u, u >> k
//               one-bits, a zero-bit, where u = v, or -1 - v for v < 0;  for k = 31: v in 32 bits

#include <cstdint>
#include <span>
#include <vector>

#include "orb3core/transform/bitstream.h"

namespace orb3::strans {

/// Codes impulses one after the other. Holds working memory between them.
class ImpulseEncoder {
public:
    explicit ImpulseEncoder(BitWriter& bits) : bits(bits) {}

    /// Appends one segment with all of `values`, split wherever that makes it shorter.
    void Encode(std::span<const std::int32_t> values);

private:
    using Values = std::span<const std::int32_t>;

    std::uint64_t PlanLeaf(Values values, std::uint8_t& choice);
    std::uint64_t Plan(Values values);
    std::size_t Write(Values values, std::size_t at);
    void WriteLeaf(Values values, std::uint8_t choice);

    BitWriter& bits;
    std::vector<std::uint8_t> plan;         // a choice for each segment, in the order of the coding
    std::vector<std::int32_t> differences;  // of one leaf
};

/// Takes one segment, and sets `values` to it. Throws slib::BadDataException for what no encoder writes, and
/// what BitReader throws; `values` may then hold anything.
void DecodeImpulse(BitReader& bits, std::span<std::int32_t> values);

}  // namespace orb3::strans
