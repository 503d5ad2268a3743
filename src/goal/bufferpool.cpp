#include "goal/bufferpool.h"

#include <cassert>

namespace goal {

BufferPool::~BufferPool() { Clear(); }

void BufferPool::Clear() {
    for (const BufferSlot& slot : slots)
        delete slot.buffer;
    slots.clear();
}

std::uint32_t BufferPool::Add() {
    for (std::uint32_t i = 0; i < slots.size; ++i) {
        if (!slots[i].deleted) continue;
        slots[i] = BufferSlot();
        return i + 1;
    }
    slots.append(BufferSlot());
    return slots.size;
}

bool BufferPool::IsValid(std::uint32_t name) const {
    return name != 0 && name <= slots.size && !slots[name - 1].deleted;
}

void BufferPool::Replace(std::unique_ptr<Buffer> buffer, BufferList* deletedBuffers) {
    assert(IsValid(buffer->name));
    BufferSlot& slot = slots[buffer->name - 1];
    Retire(slot, deletedBuffers);
    slot.buffer = buffer.release();
}

void BufferPool::Delete(std::uint32_t name, BufferList* deletedBuffers) {
    assert(IsValid(name));
    BufferSlot& slot = slots[name - 1];
    Retire(slot, deletedBuffers);
    slot.deleted = true;
}

void BufferPool::MarkUsage() {
    for (BufferSlot& slot : slots) {
        if (slot.buffer != nullptr) slot.buffer->renderUseCount = slot.buffer->useCount.load();
    }
}

void BufferPool::Retire(BufferSlot& slot, BufferList* deletedBuffers) {
    if (slot.buffer == nullptr) return;
    assert(!InUse(*slot.buffer));
    if (deletedBuffers == nullptr) {
        delete slot.buffer;
    } else {
        deletedBuffers->append(slot.buffer);
    }
    slot.buffer = nullptr;
}

}  // namespace goal
