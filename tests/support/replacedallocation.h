#pragma once

// Replaces operator new for a whole program, in the one source of it that includes this: allocations and
// frees are counted, and allocations fail when a test says so, each for its own thread.

#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>

namespace testing_support {

inline constexpr long never = std::numeric_limits<long>::max();
inline thread_local std::size_t allocations = 0;
inline thread_local std::size_t frees = 0;
inline thread_local long allocationsLeft = never;  ///< until one fails

inline void* Allocate(std::size_t size, std::size_t alignment = __STDCPP_DEFAULT_NEW_ALIGNMENT__) noexcept {
    ++allocations;
    if (allocationsLeft == 0) return nullptr;
    if (allocationsLeft != never) --allocationsLeft;
    return std::aligned_alloc(alignment, (size / alignment + 1) * alignment);
}

// Out of line, for the compiler takes a visible free of what came from new for a mistake.
[[gnu::noinline]] inline void Release(void* block) noexcept {
    frees += block != nullptr;
    std::free(block);
}

}  // namespace testing_support

// All forms in use: a sanitizer has its own of each, which would not come down to these.
// clang-format off
void* operator new(std::size_t size) {
    if (void* const block = testing_support::Allocate(size)) return block;
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return ::operator new(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return testing_support::Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return testing_support::Allocate(size); }
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return testing_support::Allocate(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* block) noexcept { testing_support::Release(block); }
void operator delete[](void* block) noexcept { testing_support::Release(block); }
void operator delete(void* block, std::size_t) noexcept { testing_support::Release(block); }
void operator delete[](void* block, std::size_t) noexcept { testing_support::Release(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { testing_support::Release(block); }
void operator delete(void* block, std::align_val_t) noexcept { testing_support::Release(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { testing_support::Release(block); }
// clang-format on
