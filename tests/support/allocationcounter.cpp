#include "allocationcounter.h"

#include <cstdlib>
#include <new>

namespace {

thread_local std::size_t allocations = 0;

void* Allocate(std::size_t size, std::size_t alignment) {
    ++allocations;
    return std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
}

}  // namespace

std::size_t testing_support::AllocationsOfThisThread() {
    return allocations;
}

void* operator new(std::size_t size) {
    if (void* const block = Allocate(size, alignof(std::max_align_t))) return block;
    throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size, alignof(std::max_align_t));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return Allocate(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
void operator delete(void* block, std::align_val_t) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t, std::align_val_t) noexcept {
    std::free(block);
}
