#include "app/goaldll/sourceplay.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <utility>

#include "app/goaldll/standarderrors.h"

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

// FindBuffer, where the standard lets a source have a buffer that was given no data: it gets none now, of the
// kind of `like`, or of any.
Buffer* FindOrFill(const SourceAccess& source, ALuint name, const Buffer* like) SLIB_UNCHECKED_LOCKS {
    constexpr float anyFrequency = 44100;  // Hz
    BufferPool& pool = source.engine.device.bufferPool;
    if (!pool.IsValid(name)) return nullptr;
    if (pool.slots[name - 1].buffer == nullptr && AllowsStandard())
        pool.Replace(
            std::make_unique<Buffer>(name, like != nullptr ? like->formatId : AL_FORMAT_MONO16,
                                     like != nullptr ? like->frequency : anyFrequency, nullptr, 0, true),
            nullptr);
    return pool.slots[name - 1].buffer;
}

bool IsSameKind(const Buffer& a, const Buffer& b) {
    return a.formatId == b.formatId && a.frequency == b.frequency;
}

bool IsUnderWay(SourceState state) {
    return state == SourceState::Playing || state == SourceState::Paused;
}

// The standard takes what AL_BUFFERS_PROCESSED says, and nothing else.
std::uint32_t MostToUnqueue(const Source& seen, bool isLooping) {
    if (seen.state == SourceState::Stopped) return seen.queue.size;
    const bool isStandard = IsStandardInForce();
    if (!IsUnderWay(seen.state)) return isStandard ? 0 : seen.queue.size;
    return isStandard && isLooping ? 0 : std::min(seen.queueIndex, seen.queue.size);
}

}  // namespace

void Play(const SourceAccess& source) {
    const bool isEmpty = source.PlayState().queue.size == 0;
    if (isEmpty && !AllowsStandard()) return;
    Source& target = source.ChangePlayState();
    if (target.state == SourceState::Playing) GoToStart(target);
    target.state = isEmpty ? SourceState::Stopped : SourceState::Playing;
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
    if (IsUnderWay(source.PlayState().state)) return CodeOf(Fault::BufferOfMovingSource);
    BufferQueue queue;
    if (name != 0) {
        Buffer* const buffer = FindOrFill(source, name, nullptr);
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
    const Buffer* kind = seen.queue.size > 0 ? seen.queue[0] : FindOrFill(source, names[0], nullptr);
    for (const ALuint name : names) {
        const Buffer* const buffer = FindOrFill(source, name, kind);
        if (buffer == nullptr) return AL_INVALID_NAME;
        if (!IsSameKind(*kind, *buffer)) return CodeOf(Fault::BuffersOfOtherKind);
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
    if (names.size() > MostToUnqueue(seen, source.Target().looping)) return CodeOf(Fault::TooManyToUnqueue);

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
