#pragma once

// The buffers of a source, front first. The records of a source share one block of places, each with its own
// window of it, so that a copy of a queue costs the same whatever its length:
//
//     block:   | gone | window of the renderer ... | queued since | free ... |
//                     | window of the application ................|
//
// A place is written once, before any window shows it. Calls change queues under apiMutex; the server only
// takes copies of them, under stateMutex.

#include <atomic>
#include <cstdint>
#include <memory>

#include "goal/sound/buffer.h"
#include "slib/retirelist.h"

namespace goal {

class BufferQueue {
public:
    std::uint32_t size = 0;

    BufferQueue() = default;
    BufferQueue(const BufferQueue& other) noexcept;
    BufferQueue(BufferQueue&& other) noexcept;
    BufferQueue& operator=(BufferQueue other) noexcept;
    ~BufferQueue();

    /// The buffer at that place, which isn't owned.
    Buffer* operator[](std::uint32_t index) const { return block->places[first + index]; }
    Buffer* const* begin() const { return block == nullptr ? nullptr : block->places.get() + first; }
    Buffer* const* end() const { return begin() + size; }

    /// Adds a buffer at the end, in the same time whatever the length, on the average. Throws
    /// slib::OutOfMemoryException and then changes nothing.
    void append(Buffer* buffer);

    /// Takes the first `count` buffers away, of as many at least.
    void RemoveFront(std::uint32_t count);

    void clear() { *this = BufferQueue(); }

    /// Becomes a copy of `other`. A block that nobody needs any more goes to `retired` and isn't freed.
    void Follow(const BufferQueue& other, slib::RetireList& retired) noexcept;

private:
    struct Block : slib::Retired {
        explicit Block(std::uint32_t capacity);

        std::atomic<std::uint32_t> owners{1};
        const std::uint32_t capacity;
        std::uint32_t used = 0;  // places written; guarded by apiMutex
        const std::unique_ptr<Buffer*[]> places;
    };

    // Gives up the block. Returns it when nobody else has it.
    std::unique_ptr<Block> Release() noexcept;

    Block* block = nullptr;
    std::uint32_t first = 0;
};

}  // namespace goal
