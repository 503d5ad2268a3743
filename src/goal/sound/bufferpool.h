#pragma once

// The buffers of the device and their names. The game's threads use it under the API mutex; the server's
// thread calls MarkUsage with that mutex held and nothing else.

#include <cstdint>
#include <memory>
#include <span>

#include "goal/sound/buffer.h"
#include "numeric/genericvector.h"
#include "numeric/indexset.h"

namespace goal {

/// A name is a slot's index plus 1. Slots never go away, so a name that was given stays the same number for
/// ever.
class BufferPool {
public:
    struct BufferSlot {
        Buffer* buffer = nullptr;  ///< owned; null while the name has no data
        bool deleted = false;      ///< free for a new name
    };

    using BufferList = hcml::GenericVector<Buffer*, 1>;

    hcml::GenericVector<BufferSlot, 1> slots;

    BufferPool() = default;
    BufferPool(const BufferPool&) = delete;
    BufferPool& operator=(const BufferPool&) = delete;
    /// Frees every buffer.
    ~BufferPool();

    /// Frees every buffer and forgets every name.
    void Clear();

    /// A name without data: that of the lowest free slot, else of a new one. Throws
    /// slib::OutOfMemoryException.
    std::uint32_t Add();

    bool IsValid(std::uint32_t name) const;

    /// Gives a valid name new data. The old buffer, which must not be in use, moves to `deletedBuffers`,
    /// whose owner frees it when the server's thread has let go of it; with null it is freed at once. Throws
    /// slib::OutOfMemoryException and then changes nothing.
    void Replace(std::unique_ptr<Buffer> buffer, BufferList* deletedBuffers);

    /// Deletes valid names whose buffers aren't in use; a name may occur more than once. The buffers go where
    /// those of Replace go. Throws slib::OutOfMemoryException and then changes nothing.
    void Delete(std::span<const std::uint32_t> names, BufferList* deletedBuffers);

    /// How many renderers may read buffers at once.
    static constexpr std::size_t mostReaders = 32;

    /// Notes for every buffer of borrowed data whether the coming snapshot of the renderer in the place
    /// `reader` may refer to it: whether any queue of the game does. Nobody asks that of the others,
    /// whose data lasts as long as it has to.
    void MarkUsage(std::size_t reader = 0);

    /// Notes that there is no renderer in that place any more.
    void EndReading(std::size_t reader);

    /// True when any buffer that was there at the last MarkUsage has borrowed data.
    bool HasBorrowed() const { return hasBorrowed; }

private:
    hcml::IndexSet free;      // the slots for new names
    hcml::IndexSet borrowed;  // the slots of buffers of borrowed data
    bool hasBorrowed = false;
};

}  // namespace goal
