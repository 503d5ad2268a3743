#include "goal/sound/bufferpool.h"

#include <algorithm>
#include <cassert>
#include <optional>
#include <vector>

namespace goal {

BufferPool::~BufferPool() {
    Clear();
}

void BufferPool::Clear() {
    for (const BufferSlot& slot : slots)
        delete slot.buffer;
    slots.clear();
    free = {};
    borrowed = {};
}

std::uint32_t BufferPool::Add() {
    if (const std::optional<std::uint32_t> place = free.First()) {
        slots[*place] = BufferSlot();
        free.Erase(*place);
        return *place + 1;
    }
    free.Reserve(slots.size + 1);
    borrowed.Reserve(slots.size + 1);
    slots.append(BufferSlot());
    return slots.size;
}

bool BufferPool::IsValid(std::uint32_t name) const {
    return name != 0 && name <= slots.size && !slots[name - 1].deleted;
}

void BufferPool::Replace(std::unique_ptr<Buffer> buffer, BufferList* deletedBuffers) {
    assert(IsValid(buffer->name));
    BufferSlot& slot = slots[buffer->name - 1];
    assert(slot.buffer == nullptr || !InUse(*slot.buffer));
    if (deletedBuffers == nullptr)
        delete slot.buffer;
    else if (slot.buffer != nullptr)
        deletedBuffers->append(slot.buffer);
    buffer->ownsData ? borrowed.Erase(buffer->name - 1) : borrowed.Insert(buffer->name - 1);
    slot.buffer = buffer.release();
}

void BufferPool::Delete(std::span<const std::uint32_t> names, BufferList* deletedBuffers) {
    if (deletedBuffers != nullptr) {
        BufferList buffers;
        std::vector<std::uint32_t> distinct(names.begin(), names.end());
        std::sort(distinct.begin(), distinct.end());
        distinct.erase(std::unique(distinct.begin(), distinct.end()), distinct.end());
        for (const std::uint32_t name : distinct)
            if (slots[name - 1].buffer != nullptr) buffers.append(slots[name - 1].buffer);
        deletedBuffers->appendAll(buffers);
    }
    // From here on nothing fails.
    for (const std::uint32_t name : names) {
        BufferSlot& slot = slots[name - 1];
        if (deletedBuffers == nullptr) delete slot.buffer;
        slot = {nullptr, true};
        borrowed.Erase(name - 1);
        free.Insert(name - 1);
    }
}

void BufferPool::MarkUsage(std::size_t reader) {
    EndReading(reader);
    hasBorrowed = false;
    borrowed.ForEach([&](std::uint32_t i) {
        if (slots[i].buffer->useCount.load() != 0) slots[i].buffer->renderers |= std::uint32_t{1} << reader;
        hasBorrowed = true;
    });
}

void BufferPool::EndReading(std::size_t reader) {
    borrowed.ForEach([&](std::uint32_t i) { slots[i].buffer->renderers &= ~(std::uint32_t{1} << reader); });
}

}  // namespace goal
