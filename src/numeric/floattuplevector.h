#pragma once

// A vector of floats for the loops of the audio path: aligned to 128 bytes and allocated in whole groups of
// four, so that a loop over `tuples` needs no tail. Owned by one thread; sized before the block loop starts.

#include <cstdint>

#include "numeric/alignedmemory.h"

namespace hcml {

/// The fields are public to be read; only the floats at `data` are written from outside. All `tuples` * 4
/// floats exist, are zero after an allocation, and may be written by whole-group loops.
class FloatTupleVector {
public:
    std::uint32_t size = 0;    ///< floats in use
    std::uint32_t tuples = 0;  ///< groups of four, (size + 3) / 4
    float* data = nullptr;     ///< owned; a multiple of 128 bytes; null for 0 tuples

    FloatTupleVector() = default;

    /// `size` zeros. Throws slib::OutOfMemoryException.
    explicit FloatTupleVector(std::uint32_t size);

    FloatTupleVector(const FloatTupleVector& other);
    FloatTupleVector(FloatTupleVector&& other) noexcept;
    /// Copies in place when the sizes are equal. Throws slib::OutOfMemoryException and then changes nothing.
    FloatTupleVector& operator=(const FloatTupleVector& other);
    FloatTupleVector& operator=(FloatTupleVector&& other) noexcept;
    ~FloatTupleVector() = default;

    /// Discards: another size means a new block of zeros. The same size keeps everything and allocates
    /// nothing. Throws slib::OutOfMemoryException and then changes nothing.
    void resize(std::uint32_t newSize);

    /// Sets all `tuples` * 4 floats to zero.
    void clear();

private:
    void Swap(FloatTupleVector& other) noexcept;

    AlignedFloats block;
};

}  // namespace hcml
