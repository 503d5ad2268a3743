// The calls of sources: their names, their properties, their play states and their queues.

#include <array>
#include <cstdint>
#include <exception>
#include <span>

#include "app/goaldll/alcall.h"
#include "app/goaldll/sourceplay.h"
#include "app/goaldll/sourceproperties.h"
#include "app/goaldll/standarderrors.h"

namespace {

using goal::Access;
using goal::Context;
using goal::Process;
using goal::Source;
using goal::SourceAccess;
using goal::SuspendedState;

// ---- Names ----

// The name of a new source. While the context is suspended, the end of that makes the room for its rendering.
ALuint TakeName(Context& context) {
    SuspendedState& state = TargetState(context);
    const std::uint32_t place = state.sources.NextPlace();
    state.touched.Insert(place);
    if (context.suspendCount == 0) ReserveRoom(context.snapshot, SharedState(context), place + 1, 0);
    return state.sources.Take(Source()) + 1;
}

// A source that is named twice in one list has nothing left to give back the second time.
void DeleteSource(SuspendedState& state, std::uint32_t index) {
    goal::BufferQueue& queue = state.sources[index].queue;
    for (goal::Buffer* buffer : queue)
        --buffer->useCount;
    queue.clear();
    state.sources.Delete(index);
}

bool AreLive(const SuspendedState& state, std::span<const ALuint> names) {
    for (const ALuint name : names)
        if (!goal::IsLive(state.sources, name)) return false;
    return true;
}

template <typename T>
std::span<T> ListOf(T* values, ALsizei count) {
    return {values, static_cast<std::size_t>(count)};
}

// ---- Properties ----

template <typename Work>
void Set(ALuint name, ALenum parameter, const Work& work) {
    goal::SourceCall(name, goal::AccessToSet(parameter), true, work);
}

template <typename Work>
void Get(ALuint name, ALenum parameter, bool pointersPresent, const Work& work) {
    goal::SourceCall(name, goal::AccessToGet(parameter), pointersPresent, work);
}

template <typename T>
void GetThree(ALuint name, ALenum parameter, T* x, T* y, T* z) {
    Get(name, parameter, goal::ArePresent(x, y, z), [&](const SourceAccess& source) -> int {
        std::array<T, 3> values{};
        const int code = goal::GetVector(source, parameter, values.data());
        if (code != AL_NO_ERROR) return code;
        *x = values[0];
        *y = values[1];
        *z = values[2];
        return AL_NO_ERROR;
    });
}

// ---- Play states ----

// All of the sources change, or none of them.
void ChangeAll(ALsizei count, const ALuint* names, void (*change)(const SourceAccess& source),
               void (SourceAccess::*prepare)() const = &SourceAccess::Mark) {
    const auto work = [&](Process& process, Context& context) -> int {
        if (count < 0) return goal::CodeOf(goal::Fault::NegativeCountOfSources);
        if (count > goal::longestList) return AL_INVALID_OPERATION;
        const std::span<const ALuint> list = ListOf(names, count);
        if (!AreLive(TargetState(context), list)) return AL_INVALID_NAME;
        for (const ALuint name : list)
            (SourceAccess(process.engine, context, name - 1).*prepare)();
        for (const ALuint name : list)
            change(SourceAccess(process.engine, context, name - 1));
        return AL_NO_ERROR;
    };
    goal::ContextCall(Access::WriteAll, goal::ArePresent(names), work);
}

}  // namespace

AL_API void AL_APIENTRY alGenSources(ALsizei n, ALuint* names) {
    const bool isList = goal::ArePresent(names) && n >= 0 && n <= goal::longestList;
    goal::ContextCall(Access::Write, isList, [&](Process& process, Context& context) -> int {
        try {
            for (ALuint& name : ListOf(names, n))
                name = TakeName(context);
        } catch (const std::exception& exception) {
            process.FailAl(exception.what(), goal::CodeOf(goal::Fault::NoMemoryForNames));
        }
        return AL_NO_ERROR;
    });
}

AL_API void AL_APIENTRY alDeleteSources(ALsizei n, const ALuint* names) {
    const bool isList = goal::ArePresent(names) && n >= 0 && n <= goal::longestList;
    goal::StateCall(Access::Write, isList, [&](SuspendedState& state) -> int {
        const std::span<const ALuint> list = ListOf(names, n);
        if (!AreLive(state, list)) return goal::CodeOf(goal::Fault::UnknownSourceToDelete);
        for (const ALuint name : list)
            state.touched.Insert(name - 1);
        for (const ALuint name : list)
            DeleteSource(state, name - 1);
        return AL_NO_ERROR;
    });
}

AL_API ALboolean AL_APIENTRY alIsSource(ALuint name) {
    ALboolean isSource = AL_FALSE;
    goal::StateCall(Access::Read, true, [&](const SuspendedState& state) {
        isSource = goal::IsLive(state.sources, name) ? AL_TRUE : AL_FALSE;
        return AL_NO_ERROR;
    });
    return isSource;
}

AL_API void AL_APIENTRY alSourcef(ALuint name, ALenum parameter, ALfloat value) {
    Set(name, parameter,
        [&](const SourceAccess& source) { return goal::SetFloat(source, parameter, value); });
}

AL_API void AL_APIENTRY alSource3f(ALuint name, ALenum parameter, ALfloat x, ALfloat y, ALfloat z) {
    const std::array<ALfloat, 3> values{x, y, z};
    Set(name, parameter,
        [&](const SourceAccess& source) { return goal::SetVector(source, parameter, values.data()); });
}

AL_API void AL_APIENTRY alSourcefv(ALuint name, ALenum parameter, const ALfloat* values) {
    Set(name, parameter,
        [&](const SourceAccess& source) { return goal::SetFloats(source, parameter, values); });
}

AL_API void AL_APIENTRY alSourcei(ALuint name, ALenum parameter, ALint value) {
    Set(name, parameter,
        [&](const SourceAccess& source) { return goal::SetInteger(source, parameter, value); });
}

AL_API void AL_APIENTRY alSource3i(ALuint name, ALenum parameter, ALint x, ALint y, ALint z) {
    const std::array<ALint, 3> values{x, y, z};
    Set(name, parameter,
        [&](const SourceAccess& source) { return goal::SetTriple(source, parameter, values.data()); });
}

AL_API void AL_APIENTRY alSourceiv(ALuint name, ALenum parameter, const ALint* values) {
    Set(name, parameter,
        [&](const SourceAccess& source) { return goal::SetIntegers(source, parameter, values); });
}

AL_API void AL_APIENTRY alGetSourcef(ALuint name, ALenum parameter, ALfloat* value) {
    Get(name, parameter, goal::ArePresent(value),
        [&](const SourceAccess& source) { return goal::GetFloat(source, parameter, value); });
}

AL_API void AL_APIENTRY alGetSource3f(ALuint name, ALenum parameter, ALfloat* x, ALfloat* y, ALfloat* z) {
    GetThree(name, parameter, x, y, z);
}

AL_API void AL_APIENTRY alGetSourcefv(ALuint name, ALenum parameter, ALfloat* values) {
    Get(name, parameter, true,
        [&](const SourceAccess& source) { return goal::GetFloats(source, parameter, values); });
}

AL_API void AL_APIENTRY alGetSourcei(ALuint name, ALenum parameter, ALint* value) {
    Get(name, parameter, goal::ArePresent(value),
        [&](const SourceAccess& source) { return goal::GetInteger(source, parameter, value); });
}

AL_API void AL_APIENTRY alGetSource3i(ALuint name, ALenum parameter, ALint* x, ALint* y, ALint* z) {
    GetThree(name, parameter, x, y, z);
}

AL_API void AL_APIENTRY alGetSourceiv(ALuint name, ALenum parameter, ALint* values) {
    Get(name, parameter, true,
        [&](const SourceAccess& source) { return goal::GetIntegers(source, parameter, values); });
}

AL_API void AL_APIENTRY alSourcePlayv(ALsizei n, const ALuint* names) {
    ChangeAll(n, names, goal::Play, &SourceAccess::PrepareToPlay);
}

AL_API void AL_APIENTRY alSourceStopv(ALsizei n, const ALuint* names) {
    ChangeAll(n, names, goal::Stop);
}

AL_API void AL_APIENTRY alSourceRewindv(ALsizei n, const ALuint* names) {
    ChangeAll(n, names, goal::Rewind);
}

AL_API void AL_APIENTRY alSourcePausev(ALsizei n, const ALuint* names) {
    ChangeAll(n, names, goal::Pause);
}

AL_API void AL_APIENTRY alSourcePlay(ALuint name) {
    ChangeAll(1, &name, goal::Play, &SourceAccess::PrepareToPlay);
}

AL_API void AL_APIENTRY alSourceStop(ALuint name) {
    ChangeAll(1, &name, goal::Stop);
}

AL_API void AL_APIENTRY alSourceRewind(ALuint name) {
    ChangeAll(1, &name, goal::Rewind);
}

AL_API void AL_APIENTRY alSourcePause(ALuint name) {
    ChangeAll(1, &name, goal::Pause);
}

AL_API void AL_APIENTRY alSourceQueueBuffers(ALuint name, ALsizei n, const ALuint* buffers) {
    const bool isList = goal::ArePresent(buffers) && n >= 0;
    goal::SourceCall(name, Access::WriteAll, isList, [&](const SourceAccess& source) -> int {
        return n <= goal::longestList ? goal::QueueBuffers(source, ListOf(buffers, n)) : AL_INVALID_OPERATION;
    });
}

AL_API void AL_APIENTRY alSourceUnqueueBuffers(ALuint name, ALsizei n, ALuint* buffers) {
    const bool isList = goal::ArePresent(buffers) && n >= 0;
    goal::SourceCall(name, Access::WriteAll, isList, [&](const SourceAccess& source) {
        return goal::UnqueueBuffers(source, ListOf(buffers, n));
    });
}
