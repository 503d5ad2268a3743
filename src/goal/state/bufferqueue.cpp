#include "goal/state/bufferqueue.h"

#include <algorithm>
#include <bit>
#include <new>
#include <utility>

#include "slib/exception.h"

namespace goal {
namespace {

// Twice the length, so that a stream of a few buffers finds a free place most of the time.
constexpr std::uint32_t CapacityFor(std::uint32_t length) {
    constexpr std::uint32_t least = 4;
    if (length > 0x4000'0000) throw slib::OutOfMemoryException();
    return length <= 1 ? length : std::max(least, 2 * std::bit_ceil(length));
}

}  // namespace

BufferQueue::Block::Block(std::uint32_t capacity)
    : capacity(capacity), places(std::make_unique<Buffer*[]>(capacity)) {}

BufferQueue::BufferQueue(const BufferQueue& other) noexcept
    : size(other.size), block(other.block), first(other.first) {
    if (block != nullptr) block->owners.fetch_add(1, std::memory_order_relaxed);
}

BufferQueue::BufferQueue(BufferQueue&& other) noexcept
    : size(std::exchange(other.size, 0)),
      block(std::exchange(other.block, nullptr)),
      first(std::exchange(other.first, 0)) {}

BufferQueue& BufferQueue::operator=(BufferQueue other) noexcept {
    std::swap(size, other.size);
    std::swap(block, other.block);
    std::swap(first, other.first);
    return *this;
}

BufferQueue::~BufferQueue() {
    Release();
}

void BufferQueue::append(Buffer* buffer) {
    const bool fits = block != nullptr && first + size == block->used && block->used < block->capacity;
    if (!fits) {
        BufferQueue grown;
        try {
            grown.block = new Block(CapacityFor(size + 1));
        } catch (const std::bad_alloc&) {
            throw slib::OutOfMemoryException();
        }
        std::copy(begin(), end(), grown.block->places.get());
        grown.block->used = grown.size = size;
        *this = std::move(grown);
    }
    block->places[block->used++] = buffer;
    ++size;
}

void BufferQueue::RemoveFront(std::uint32_t count) {
    first += count;
    size -= count;
    if (size == 0) clear();
}

void BufferQueue::Follow(const BufferQueue& other, slib::RetireList& retired) noexcept {
    BufferQueue copy(other);
    retired.Push(Release());
    *this = std::move(copy);
}

std::unique_ptr<BufferQueue::Block> BufferQueue::Release() noexcept {
    Block* const released = std::exchange(block, nullptr);
    size = first = 0;
    const bool isLast = released != nullptr && released->owners.fetch_sub(1, std::memory_order_acq_rel) == 1;
    return std::unique_ptr<Block>(isLast ? released : nullptr);
}

}  // namespace goal
