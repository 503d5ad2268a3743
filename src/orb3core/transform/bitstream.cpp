#include "orb3core/transform/bitstream.h"

#include <algorithm>

#include "orb3core/transform/littleendian.h"
#include "slib/exception.h"

namespace orb3::strans {
namespace {

// Turns each of the eight bytes around, its lowest bit to the highest place. With the first byte of a stream
// in the highest place, its bits are then in the order of the stream.
std::uint64_t ReverseBitsInBytes(std::uint64_t value) {
    constexpr std::uint64_t nibbles = 0x0F0F0F0F0F0F0F0F, pairs = 0x3333333333333333,
                            bits = 0x5555555555555555;
    value = (value >> 4 & nibbles) | (value & nibbles) << 4;
    value = (value >> 2 & pairs) | (value & pairs) << 2;
    return (value >> 1 & bits) | (value & bits) << 1;
}

std::uint64_t SwapBytes(std::uint64_t value) {
    value = (value >> 8 & 0x00FF00FF00FF00FF) | (value & 0x00FF00FF00FF00FF) << 8;
    value = (value >> 16 & 0x0000FFFF0000FFFF) | (value & 0x0000FFFF0000FFFF) << 16;
    return value >> 32 | value << 32;
}

}  // namespace

// Fills the register up to at least 56 bits, or with all that is left. The quick way also brings in bits of
// a byte that isn't counted yet: they come again with that byte, and are the same.
void BitReader::Fill() {
    if (window.Fetch(8)) {
        const auto eight = SwapBytes(LoadLittleEndian<std::uint64_t>(window.next));
        held |= ReverseBitsInBytes(eight) >> count;
        window.next += (63 - count) / 8;
        count |= 56;
        return;
    }
    for (; count < 56 && window.next != window.end; count += 8)
        held |= ReverseBitsInBytes(*window.next++) << (56 - count);
}

void BitReader::Need(unsigned bits) {
    Fill();
    if (count >= bits) return;
    throw slib::OperatingSystemErrnoException(window.isBroken ? "Failed to read a transform."
                                                              : "Failed to read a transform from a stream.");
}

// For a run that reaches the end of the register.
std::uint64_t BitReader::TakeManyOnes() {
    std::uint64_t total = 0;
    for (;;) {
        const unsigned run = std::min(static_cast<unsigned>(std::countl_one(held)), count);
        total += run;
        if (run < count) {
            Drop(run + 1);
            return total;
        }
        Drop(run);
        Need(1);
    }
}

void BitWriter::Put(std::uint32_t value, unsigned bits) {
    held = held << bits | value;
    for (count += bits; count >= 8; count -= 8) {
        const std::uint64_t byte = held >> (count - 8) & 0xFF;
        bytes += static_cast<char>(ReverseBitsInBytes(byte));
    }
}

void BitWriter::PutOnes(std::uint64_t ones) {
    for (; ones >= 31; ones -= 31)
        Put(0x7FFFFFFF, 31);
    Put((1U << (ones + 1)) - 2, static_cast<unsigned>(ones) + 1);
}

void BitWriter::Finish() {
    if (count != 0) Put(0, 8 - count);
}

}  // namespace orb3::strans
