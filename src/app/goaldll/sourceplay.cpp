#include "app/goaldll/sourceplay.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace goal {
namespace {

void GoToStart(Source& source) {
    source.position = 0;
    source.queueIndex = 0;
}

// The buffer of that name, null unless it has data. The frame of the call holds apiMutex, under its own name
// of it.
Buffer* FindBuffer(const SourceAccess& source, ALuint name) SLIB_UNCHECKED_LOCKS {
    const BufferPool& pool = source.engine.device.bufferPool;
    return pool.IsValid(name) ? pool.slots[name - 1].buffer : nullptr;
}

bool IsSameKind(const Buffer& a, const Buffer& b) {
    return a.formatId == b.formatId && a.frequency == b.frequency;
}

bool IsUnderWay(SourceState state) {
    return state == SourceState::Playing || state == SourceState::Paused;
}

}  // namespace

void Play(const SourceAccess& source) {
    if (source.PlayState().queue.size == 0) return;
    Source& target = source.ChangePlayState();
    if (target.state == SourceState::Playing) GoToStart(target);
    target.state = SourceState::Playing;
}

void Stop(const SourceAccess& source) {
    if (!IsUnderWay(source.PlayState().state)) return;
    Source& target = source.ChangePlayState();
    GoToStart(target);
    target.state = SourceState::Stopped;
}

void Rewind(const SourceAccess& source) {
    if (source.PlayState().state == SourceState::Initial) return;
    Source& target = source.ChangePlayState();
    GoToStart(target);
    target.state = SourceState::Initial;
}

void Pause(const SourceAccess& source) {
    if (source.PlayState().state == SourceState::Playing) source.TouchPlayState().state = SourceState::Paused;
}

int SetBuffer(const SourceAccess& source, ALuint name) {
    if (IsUnderWay(source.PlayState().state)) return AL_INVALID_VALUE;
    BufferQueue queue;
    if (name != 0) {
        Buffer* const buffer = FindBuffer(source, name);
        if (buffer == nullptr) return AL_INVALID_VALUE;
        queue.append(buffer);
    }
    Source& target = source.ChangePlayState();
    GoToStart(target);
    target.sourceType = name != 0 ? SourceType::Static : SourceType::Undetermined;
    target.queueDirty = true;
    const BufferQueue old = std::exchange(target.queue, std::move(queue));
    for (Buffer* buffer : target.queue)
        ++buffer->useCount;
    for (Buffer* buffer : old)
        --buffer->useCount;
    return AL_NO_ERROR;
}

int QueueBuffers(const SourceAccess& source, std::span<const ALuint> names) {
    const Source& seen = source.PlayState();
    if (seen.sourceType == SourceType::Static) return AL_INVALID_OPERATION;
    if (names.empty()) return AL_NO_ERROR;
    const Buffer* kind = seen.queue.size > 0 ? seen.queue[0] : FindBuffer(source, names[0]);
    for (const ALuint name : names) {
        const Buffer* const buffer = FindBuffer(source, name);
        if (buffer == nullptr || !IsSameKind(*kind, *buffer)) return AL_INVALID_NAME;
    }
    source.PrepareFor(kind->channels, seen.sends.size);
    BufferQueue queue = seen.queue;
    for (const ALuint name : names)
        queue.append(FindBuffer(source, name));
    const BufferQueue old = source.ReplaceQueue(std::move(queue), seen.queueIndex);
    source.TouchPlayState().sourceType = SourceType::Streaming;
    for (std::uint32_t i = old.size; i < seen.queue.size; ++i)
        ++seen.queue[i]->useCount;
    return AL_NO_ERROR;
}

int UnqueueBuffers(const SourceAccess& source, std::span<ALuint> names) {
    Source& seen = source.PlayState();
    if (seen.sourceType == SourceType::Static) return AL_INVALID_OPERATION;
    if (names.empty()) return AL_NO_ERROR;
    const std::uint32_t played = std::min(seen.queueIndex, seen.queue.size);
    if (names.size() > (IsUnderWay(seen.state) ? played : seen.queue.size)) return AL_INVALID_OPERATION;

    const auto count = static_cast<std::uint32_t>(names.size());
    BufferQueue queue = seen.queue;
    queue.RemoveFront(count);
    // What the renderer has before it is cut off in front: its index will be that much too high.
    const std::uint32_t passed = std::min(seen.queueIndex, count);
    const BufferQueue old = source.ReplaceQueue(std::move(queue), seen.queueIndex - passed);
    seen.unqueuedCount += passed;
    if (passed < count) seen.position = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        --old[i]->useCount;
        names[i] = old[i]->name;
    }
    return AL_NO_ERROR;
}

}  // namespace goal
