#pragma once

// Zeroed float blocks aligned to 128 bytes, for the containers of audio blocks (numeric/floattuplevector.h,
// numeric/bus.h). Two cache lines of alignment serve every vector width. Usable from any thread; allocates,
// so not from inside a block.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

#include "slib/exception.h"

namespace hcml {

/// Alignment of every block of samples, in bytes.
inline constexpr std::size_t blockAlignment = 128;

struct AlignedDeleter {
    void operator()(float* block) const noexcept {
        ::operator delete (block, std::align_val_t{blockAlignment});
    }
};

using AlignedFloats = std::unique_ptr<float[], AlignedDeleter>;

/// A block of `count` floats, all zero, that starts at a multiple of 128 bytes; null for count 0. Throws
/// slib::OutOfMemoryException.
inline AlignedFloats AllocateAlignedFloats(std::uint64_t count) {
    if (count == 0) return nullptr;
    if (count > std::numeric_limits<std::ptrdiff_t>::max() / sizeof(float))
        throw slib::OutOfMemoryException();
    const std::size_t bytes = static_cast<std::size_t>(count) * sizeof(float);
    void* block = ::operator new (bytes, std::align_val_t{blockAlignment}, std::nothrow);
    if (block == nullptr) throw slib::OutOfMemoryException();
    return AlignedFloats(static_cast<float*>(std::memset(block, 0, bytes)));
}

}  // namespace hcml
