#include "goal/sound/bufferpool.h"

#include <algorithm>
#include <cassert>
#include <vector>

namespace goal {

BufferPool::~BufferPool() {
    Clear();
}

void BufferPool::Clear() {
    for (const BufferSlot& slot : slots)
        delete slot.buffer;
    slots.clear();
    lowestFree = 0;
}

std::uint32_t BufferPool::Add() {
    while (lowestFree < slots.size && !slots[lowestFree].deleted)
        ++lowestFree;
    if (lowestFree == slots.size)
        slots.append(BufferSlot());
    else
        slots[lowestFree] = BufferSlot();
    return ++lowestFree;
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
        lowestFree = std::min(lowestFree, name - 1);
    }
}

void BufferPool::MarkUsage() {
    for (BufferSlot& slot : slots) {
        if (slot.buffer != nullptr) slot.buffer->renderUseCount = slot.buffer->useCount.load();
    }
}

}  // namespace goal
