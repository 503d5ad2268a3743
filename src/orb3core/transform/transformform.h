#pragma once

// The forms that a transform is stored in. Used by the reader, the writer and the tools that let one choose.
//
//     text         lines of numbers, sample by sample, for people and other programs
//     binary       all numbers with their lowest byte first:
//                    0  magic: "trn8" samples of 64 bits, "trn4" of 32 bits, "trn2" compressed
//                    4  sample rate in Hz, a float of 32 bits
//                    8  rows, columns, length, start, width, unsigned, of 32 bits each
//                   28  "trn2" only: the step between two values, a float of 32 bits
//                       the impulses, row by row, each the `width` samples from `start` on around its ring

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "orb3core/transform/timedomaintransform.h"

namespace orb3::strans {

/// The values are those by which tools select a form. A compressed form keeps every sample to within half a
/// step, that is p / (2^bits - 2) for the greatest magnitude p of the whole transform, but for the rounding
/// of the step to a float.
enum class TransformForm {
    Text = 0,    ///< eight significant digits
    Double = 1,  ///< exact
    Single = 2,  ///< rounded to floats; what libraries store
    Compressed8 = 3,
    Compressed12 = 4,
    Compressed16 = 5,
    Compressed20 = 6,
    Compressed24 = 7
};

constexpr std::string_view doubleMagic = "trn8";
constexpr std::string_view singleMagic = "trn4";
constexpr std::string_view compressedMagic = "trn2";
constexpr std::string_view textMagic = "sr=";

/// A line of the text form is shorter than this, in bytes. The columns are as many as surely fit.
constexpr std::size_t lineLimit = 100000;
constexpr std::size_t columnLimit = lineLimit / std::string_view("-1.2345678e-308 ").size();

/// A stretch of a ring, as indices from `begin` up to but not including `end`.
struct RingPart {
    std::uint32_t begin, end;
};

/// The window of a ring of `length` samples, in the order of the response; the second part may be empty.
inline std::array<RingPart, 2> WindowParts(std::uint32_t length, std::uint32_t start, std::uint32_t width) {
    const std::uint32_t first = width < length - start ? width : length - start;
    return {{{start, start + first}, {0, width - first}}};
}

}  // namespace orb3::strans
