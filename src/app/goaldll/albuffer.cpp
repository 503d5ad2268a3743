// The al* calls on buffers. Buffers belong to the device, so that all of these work without a current
// context.

#include <algorithm>
#include <array>
#include <cstdint>
#include <exception>
#include <iterator>
#include <limits>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "AL/al.h"
#include "AL/tessarune.h"
#include "app/goaldll/alcall.h"
#include "app/goaldll/standarderrors.h"
#include "goal/sound/buffer.h"
#include "goal/sound/bufferformats.h"
#include "goal/sound/bufferpool.h"

namespace goal {
namespace {

using BufferList = BufferPool::BufferList;

// Whether a suspended context plays the buffer on, though a game took it out of the queue since. Neither
// count of the buffer shows it before the next block.
bool IsPlayedOn(const ContextTable& contexts, const Buffer& buffer) {
    bool isPlayed = false;
    contexts.ForEach([&](const Context& context) {
        if (context.suspendCount == 0) return;
        isPlayed |= std::ranges::any_of(SharedState(context).sources, [&](const Source& source) {
            return !source.deleted && std::ranges::find(source.queue, &buffer) != source.queue.end();
        });
    });
    return isPlayed;
}

// Whether the name is valid, and its data may go. The name 0 is none, in a list to delete as elsewhere: a
// game that passes it has lost a name, and is told.
int TestReplaceable(const Device& device, ALuint name) {
    if (!device.bufferPool.IsValid(name)) return AL_INVALID_NAME;
    const Buffer* const buffer = device.bufferPool.slots[name - 1].buffer;
    if (buffer == nullptr) return AL_NO_ERROR;
    const bool isHeld = InUse(*buffer) || (!buffer->ownsData && IsPlayedOn(device.contexts, *buffer));
    return isHeld ? AL_INVALID_OPERATION : AL_NO_ERROR;
}

// Runs `work(list)` with the list of buffers that go when the renderer of the context has done with them.
template <typename Work>
void WithDeletedBuffersOf(Context& context, const Work& work) {
    const StateLock lock(context, Access::Write);
    std::unique_ptr<DeletedBuffers>& deleted = TargetState(context).deletedBuffers;
    if (deleted == nullptr) deleted = std::make_unique<DeletedBuffers>();
    work(deleted->buffers);
}

// Each of several renderers may read what goes, so all of them hold it. Room for it is made first: what fails
// then changes nothing.
template <typename Work>
void WithDeletedBuffersOfAll(Process& process, std::size_t most, const Work& work)
    SLIB_REQUIRES(process.engine.apiMutex) {
    const ContextTable& contexts = process.engine.device.contexts;
    contexts.ForEach([&](Context& context) {
        WithDeletedBuffersOf(context, [&](BufferList& list) {
            for (std::size_t i = 0; i < most; ++i)
                list.append(nullptr);
        });
    });
    BufferList gone;
    work(process.engine.device.bufferPool, &gone);
    contexts.ForEach([&](Context& context) {
        WithDeletedBuffersOf(context, [&](BufferList& list) {
            std::uint32_t place = list.size;
            for (Buffer* const buffer : gone) {
                ++buffer->holders;
                list[--place] = buffer;
            }
        });
    });
    for (Buffer* const buffer : gone)
        LetGo(buffer);
}

// Runs `work` with the pool and the list that takes buffers which a renderer may still read, null when
// nothing renders; `most` of them at most. That goes by the device's contexts and not by the current one:
// they render on while a game has none current.
template <typename Work>
void WithDeletedBuffers(Process& process, std::size_t most, const Work& work)
    SLIB_REQUIRES(process.engine.apiMutex) {
    BufferPool* const pool = &process.engine.device.bufferPool;  // for a lambda that says nothing of the lock
    const ContextTable& contexts = process.engine.device.contexts;
    Context* const first = contexts.First();
    if (first == nullptr) return work(*pool, nullptr);
    if (contexts.Count() > 1) return WithDeletedBuffersOfAll(process, most, work);
    WithDeletedBuffersOf(*first, [&](BufferList& list) { work(*pool, &list); });
}

std::vector<ALuint> WithoutNull(std::span<const ALuint> names) {
    std::vector<ALuint> others;
    std::ranges::copy_if(names, std::back_inserter(others), [](ALuint name) { return name != 0; });
    return others;
}

int DeleteBuffers(Process& process, std::span<const ALuint> names) SLIB_REQUIRES(process.engine.apiMutex) {
    if (std::ranges::find(names, ALuint{0}) != names.end() && AllowsStandard())
        return DeleteBuffers(process, WithoutNull(names));
    for (const ALuint name : names)
        if (const int code = TestReplaceable(process.engine.device, name); code != AL_NO_ERROR) return code;
    WithDeletedBuffers(process, names.size(),
                       [&](BufferPool& pool, BufferList* list) { pool.Delete(names, list); });
    return AL_NO_ERROR;
}

// ---- Data ----

int TestData(ALenum format, ALsizei size, ALsizei frequency) {
    if (size < 0 || frequency < 1) return AL_INVALID_VALUE;
    const BufferFormat* const row = FindBufferFormat(format);
    if (row == nullptr) return AL_INVALID_ENUM;
    return static_cast<std::uint32_t>(size) % row->blockBytes == 0 ? AL_NO_ERROR : AL_INVALID_VALUE;
}

// Null, with the failure recorded, when it can't be made.
std::unique_ptr<Buffer> NewBuffer(ALuint name, ALenum format, const void* data, ALsizei size,
                                  ALsizei frequency, bool copyData) noexcept {
    try {
        return std::make_unique<Buffer>(name, format, static_cast<float>(frequency), data,
                                        static_cast<std::uint32_t>(size), copyData);
    } catch (const std::exception& exception) {
        AlCall([&](Process& process) SLIB_REQUIRES(process.engine.apiMutex) -> int {
            process.FailAl(exception.what(), AL_INVALID_OPERATION);
            return AL_NO_ERROR;
        });
        return nullptr;
    }
}

// The samples are copied between two tests of the name, outside all locks: the renderer takes them once a
// block, and a long copy would make it late.
void SetData(ALuint name, ALenum format, const void* data, ALsizei size, ALsizei frequency,
             bool copyData) noexcept {
    const CallFrame frame;
    bool isReplaceable = false;
    if (const int code = TestData(format, size, frequency); code != AL_NO_ERROR)
        return AlCall([&](Process&) { return code; });
    AlCall([&](Process& process) SLIB_REQUIRES(process.engine.apiMutex) -> int {
        const int code = TestReplaceable(process.engine.device, name);
        if (code != AL_NO_ERROR) return code;
        isReplaceable = data != nullptr || size == 0;
        return isReplaceable ? AL_NO_ERROR : AL_INVALID_VALUE;
    });
    if (!isReplaceable) return;

    std::unique_ptr<Buffer> buffer = NewBuffer(name, format, data, size, frequency, copyData);
    if (buffer == nullptr) return;
    AlCall([&](Process& process) SLIB_REQUIRES(process.engine.apiMutex) -> int {
        if (const int code = TestReplaceable(process.engine.device, name); code != AL_NO_ERROR) return code;
        WithDeletedBuffers(
            process, 1, [&](BufferPool& pool, BufferList* list) { pool.Replace(std::move(buffer), list); });
        return AL_NO_ERROR;
    });
}

// ---- Properties ----

// Runs `work(buffer)` with what a valid name holds, null for no data.
template <typename Work>
void PropertyCall(ALuint name, bool pointersPresent, const Work& work) noexcept {
    AlCall([&](Process& process) SLIB_REQUIRES(process.engine.apiMutex) -> int {
        const BufferPool& pool = process.engine.device.bufferPool;
        if (!pointersPresent) return AL_INVALID_VALUE;
        if (!pool.IsValid(name)) return AL_INVALID_NAME;
        return work(pool.slots[name - 1].buffer);
    });
}

// Of a property that a buffer doesn't have in that form.
void RefuseProperty(ALuint name, bool pointersPresent) noexcept {
    PropertyCall(name, pointersPresent, [](const Buffer*) -> int { return AL_INVALID_ENUM; });
}

// The highest frequencies round to 2^31 as a float.
ALint FrequencyOf(const Buffer& buffer) {
    const double frequency = double{buffer.frequency};
    return static_cast<ALint>(std::min(frequency, double{std::numeric_limits<ALint>::max()}));
}

struct Property {
    ALenum parameter;
    ALint withoutData;
    ALint (*of)(const Buffer& buffer);
};

constexpr std::array properties = std::to_array<Property>({
    {AL_FREQUENCY, 0, FrequencyOf},
    {AL_BITS, 16, [](const Buffer& buffer) -> ALint { return BitsOf(buffer); }},
    {AL_CHANNELS, 1, [](const Buffer& buffer) { return static_cast<ALint>(buffer.channels); }},
    {AL_SIZE, 0, [](const Buffer& buffer) { return static_cast<ALint>(buffer.size); }},
});

void GetProperty(ALuint name, ALenum parameter, ALint* value) noexcept {
    PropertyCall(name, ArePresent(value), [&](const Buffer* buffer) -> int {
        const auto* const row = std::ranges::find(properties, parameter, &Property::parameter);
        if (row == properties.end()) return AL_INVALID_ENUM;
        *value = buffer != nullptr ? row->of(*buffer) : row->withoutData;
        return AL_NO_ERROR;
    });
}

}  // namespace
}  // namespace goal

AL_API void AL_APIENTRY alGenBuffers(ALsizei n, ALuint* buffers) {
    goal::AlCall([&](goal::Process& process) SLIB_REQUIRES(process.engine.apiMutex) -> int {
        if (n < 0 || buffers == nullptr) return AL_INVALID_VALUE;
        if (n > goal::longestList) return AL_INVALID_OPERATION;
        for (ALsizei i = 0; i < n; ++i)
            buffers[i] = process.engine.device.bufferPool.Add();
        return AL_NO_ERROR;
    });
}

AL_API void AL_APIENTRY alDeleteBuffers(ALsizei n, const ALuint* buffers) {
    goal::AlCall([&](goal::Process& process) SLIB_REQUIRES(process.engine.apiMutex) -> int {
        if (n < 0 || buffers == nullptr) return AL_INVALID_VALUE;
        if (n > goal::longestList) return AL_INVALID_OPERATION;
        return goal::DeleteBuffers(process, {buffers, static_cast<std::size_t>(n)});
    });
}

AL_API ALboolean AL_APIENTRY alIsBuffer(ALuint buffer) {
    return goal::AlCallFor<ALboolean>(
        AL_FALSE, [&](const goal::Process& process) SLIB_REQUIRES(process.engine.apiMutex) -> ALboolean {
            return process.engine.device.bufferPool.IsValid(buffer) ? AL_TRUE : AL_FALSE;
        });
}

AL_API void AL_APIENTRY alBufferData(ALuint buffer, ALenum format, const ALvoid* data, ALsizei size,
                                     ALsizei frequency) {
    goal::SetData(buffer, format, data, size, frequency, true);
}

AL_API void AL_APIENTRY alBufferDataStatic(ALuint buffer, ALenum format, ALvoid* data, ALsizei size,
                                           ALsizei frequency) {
    goal::SetData(buffer, format, data, size, frequency, false);
}

AL_API void AL_APIENTRY alBufferf(ALuint buffer, ALenum, ALfloat) {
    goal::RefuseProperty(buffer, true);
}

AL_API void AL_APIENTRY alBuffer3f(ALuint buffer, ALenum, ALfloat, ALfloat, ALfloat) {
    goal::RefuseProperty(buffer, true);
}

AL_API void AL_APIENTRY alBufferfv(ALuint buffer, ALenum, const ALfloat* values) {
    goal::RefuseProperty(buffer, goal::ArePresent(values));
}

AL_API void AL_APIENTRY alBufferi(ALuint buffer, ALenum, ALint) {
    goal::RefuseProperty(buffer, true);
}

AL_API void AL_APIENTRY alBuffer3i(ALuint buffer, ALenum, ALint, ALint, ALint) {
    goal::RefuseProperty(buffer, true);
}

AL_API void AL_APIENTRY alBufferiv(ALuint buffer, ALenum, const ALint* values) {
    goal::RefuseProperty(buffer, goal::ArePresent(values));
}

AL_API void AL_APIENTRY alGetBufferf(ALuint buffer, ALenum, ALfloat* value) {
    goal::RefuseProperty(buffer, goal::ArePresent(value));
}

AL_API void AL_APIENTRY alGetBuffer3f(ALuint buffer, ALenum, ALfloat* value1, ALfloat* value2,
                                      ALfloat* value3) {
    goal::RefuseProperty(buffer, goal::ArePresent(value1, value2, value3));
}

AL_API void AL_APIENTRY alGetBufferfv(ALuint buffer, ALenum, ALfloat* values) {
    goal::RefuseProperty(buffer, goal::ArePresent(values));
}

AL_API void AL_APIENTRY alGetBufferi(ALuint buffer, ALenum parameter, ALint* value) {
    goal::GetProperty(buffer, parameter, value);
}

AL_API void AL_APIENTRY alGetBuffer3i(ALuint buffer, ALenum, ALint* value1, ALint* value2, ALint* value3) {
    goal::RefuseProperty(buffer, goal::ArePresent(value1, value2, value3));
}

AL_API void AL_APIENTRY alGetBufferiv(ALuint buffer, ALenum parameter, ALint* values) {
    goal::GetProperty(buffer, parameter, values);
}
