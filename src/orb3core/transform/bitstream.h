#pragma once

// The stream of bits inside a compressed transform. A byte holds its first bit lowest; numbers go in with
// their highest bit first. Used by the reader and the writer of transforms only.

#include <bit>
#include <cstdint>
#include <string>

#include "orb3core/transform/streamwindow.h"

namespace orb3::strans {

/// Takes bits off a stream through a register of 64. Every operation that finds the stream at its end, or
/// failing, throws slib::OperatingSystemErrnoException.
class BitReader {
public:
    /// Starts at a byte. The window, which must outlive the reader, is the reader's while it lives.
    explicit BitReader(StreamWindow& window) : window(window) {}

    /// Gives the window back at the byte after the last one that was used, in part or in full.
    ~BitReader() { window.GiveBack(count / 8); }

    BitReader(const BitReader&) = delete;
    BitReader& operator=(const BitReader&) = delete;

    bool TakeBit() { return Take(1) != 0; }

    /// The number in the next `bits` bits, at most 32.
    std::uint32_t Take(unsigned bits) {
        if (count < bits) Need(bits);
        const std::uint64_t value = (held >> 32) >> (32 - bits);
        Drop(bits);
        return static_cast<std::uint32_t>(value);
    }

    /// The number of one-bits before the next zero-bit, which goes with them.
    std::uint64_t TakeOnes() {
        const auto run = static_cast<unsigned>(std::countl_one(held));
        if (run >= count) return TakeManyOnes();
        Drop(run + 1);
        return run;
    }

    /// Bytes that have been used, in part or in full.
    std::uint64_t UsedBytes() const { return window.Used() - count / 8; }

private:
    void Drop(unsigned bits) {
        held <<= bits;
        count -= bits;
    }

    void Fill();
    void Need(unsigned bits);
    std::uint64_t TakeManyOnes();

    StreamWindow& window;
    std::uint64_t held = 0;  // the next bit is the highest; what follows the first `count` has no meaning
    unsigned count = 0;
};

/// Appends bits to a string of bytes.
class BitWriter {
public:
    /// The string, which must outlive the writer, grows by whole bytes.
    explicit BitWriter(std::string& bytes) : bytes(bytes) {}

    /// The lowest `bits` bits of `value`, at most 32; those above must be 0.
    void Put(std::uint32_t value, unsigned bits);

    /// `count` one-bits and a zero-bit.
    void PutOnes(std::uint64_t count);

    /// Fills up the byte that was begun, if one was, with zero-bits.
    void Finish();

private:
    std::string& bytes;
    std::uint64_t held = 0;  // the last bit put is the lowest
    unsigned count = 0;
};

}  // namespace orb3::strans
