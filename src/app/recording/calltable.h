#pragma once

// All calls that a recording may hold, one row each: its type, from which follows how it is written, read and
// made again, its name, and which objects its names stand for. Recorder and replayer are made from this
// table. Constant data; any thread.

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>

#include "AL/tessarune.h"

namespace recording {

/// What a name (ALuint) stands for.
enum class Object { None, Source, Buffer, Slot, Effect, Filter };

/// Its address stands for the type of a function.
template <typename Function>
inline constexpr char typeMark = 0;

struct CallFacts {
    std::string_view name;
    Object object = Object::None;  ///< of the name that is passed by itself
    Object listed = Object::None;  ///< of the names in a list
    const char* type = nullptr;    ///< the mark of its type
};

template <typename Function>
struct Row : CallFacts {
    explicit constexpr Row(std::string_view name, Object object = Object::None, Object listed = Object::None)
        : CallFacts{name, object, listed, &typeMark<Function>} {}
};

/// The facts as data, and the types as a list: a compiler takes seconds for a tuple of as many rows.
template <typename... Functions>
class CallTable {
public:
    static constexpr std::size_t count = sizeof...(Functions);

    explicit constexpr CallTable(const Row<Functions>&... rows) : facts{rows...} {}

    constexpr const CallFacts& operator[](std::size_t index) const { return facts[index]; }

    /// What `make.operator()<index, Function>()` returns for each row, in order.
    template <typename Result, typename Make>
    static constexpr std::array<Result, count> ForEach(const Make& make) {
        return [&]<std::size_t... index>(std::index_sequence<index...>) {
            return std::array<Result, count>{make.template operator()<index, Functions>()...};
        }
        (std::index_sequence_for<Functions...>());
    }

private:
    std::array<CallFacts, count> facts;
};

/// Those that the library exports, in its order, and those that it gives by alcGetProcAddress alone.
// clang-format off
inline constexpr CallTable calls{
    Row<decltype(alEnable)>{"alEnable"},
    Row<decltype(alDisable)>{"alDisable"},
    Row<decltype(alIsEnabled)>{"alIsEnabled"},
    Row<decltype(alGetString)>{"alGetString"},
    Row<decltype(alGetBooleanv)>{"alGetBooleanv"},
    Row<decltype(alGetIntegerv)>{"alGetIntegerv"},
    Row<decltype(alGetFloatv)>{"alGetFloatv"},
    Row<decltype(alGetDoublev)>{"alGetDoublev"},
    Row<decltype(alGetBoolean)>{"alGetBoolean"},
    Row<decltype(alGetInteger)>{"alGetInteger"},
    Row<decltype(alGetFloat)>{"alGetFloat"},
    Row<decltype(alGetDouble)>{"alGetDouble"},
    Row<decltype(alGetError)>{"alGetError"},
    Row<decltype(alIsExtensionPresent)>{"alIsExtensionPresent"},
    Row<decltype(alGetProcAddress)>{"alGetProcAddress"},
    Row<decltype(alGetEnumValue)>{"alGetEnumValue"},
    Row<decltype(alListenerf)>{"alListenerf"},
    Row<decltype(alListener3f)>{"alListener3f"},
    Row<decltype(alListenerfv)>{"alListenerfv"},
    Row<decltype(alListeneri)>{"alListeneri"},
    Row<decltype(alListener3i)>{"alListener3i"},
    Row<decltype(alListeneriv)>{"alListeneriv"},
    Row<decltype(alGetListenerf)>{"alGetListenerf"},
    Row<decltype(alGetListener3f)>{"alGetListener3f"},
    Row<decltype(alGetListenerfv)>{"alGetListenerfv"},
    Row<decltype(alGetListeneri)>{"alGetListeneri"},
    Row<decltype(alGetListener3i)>{"alGetListener3i"},
    Row<decltype(alGetListeneriv)>{"alGetListeneriv"},
    Row<decltype(alGenSources)>{"alGenSources", Object::None, Object::Source},
    Row<decltype(alDeleteSources)>{"alDeleteSources", Object::None, Object::Source},
    Row<decltype(alIsSource)>{"alIsSource", Object::Source},
    Row<decltype(alSourcef)>{"alSourcef", Object::Source},
    Row<decltype(alSource3f)>{"alSource3f", Object::Source},
    Row<decltype(alSourcefv)>{"alSourcefv", Object::Source},
    Row<decltype(alSourcei)>{"alSourcei", Object::Source},
    Row<decltype(alSource3i)>{"alSource3i", Object::Source},
    Row<decltype(alSourceiv)>{"alSourceiv", Object::Source},
    Row<decltype(alGetSourcef)>{"alGetSourcef", Object::Source},
    Row<decltype(alGetSource3f)>{"alGetSource3f", Object::Source},
    Row<decltype(alGetSourcefv)>{"alGetSourcefv", Object::Source},
    Row<decltype(alGetSourcei)>{"alGetSourcei", Object::Source},
    Row<decltype(alGetSource3i)>{"alGetSource3i", Object::Source},
    Row<decltype(alGetSourceiv)>{"alGetSourceiv", Object::Source},
    Row<decltype(alSourcePlayv)>{"alSourcePlayv", Object::None, Object::Source},
    Row<decltype(alSourceStopv)>{"alSourceStopv", Object::None, Object::Source},
    Row<decltype(alSourceRewindv)>{"alSourceRewindv", Object::None, Object::Source},
    Row<decltype(alSourcePausev)>{"alSourcePausev", Object::None, Object::Source},
    Row<decltype(alSourcePlay)>{"alSourcePlay", Object::Source},
    Row<decltype(alSourceStop)>{"alSourceStop", Object::Source},
    Row<decltype(alSourceRewind)>{"alSourceRewind", Object::Source},
    Row<decltype(alSourcePause)>{"alSourcePause", Object::Source},
    Row<decltype(alSourceQueueBuffers)>{"alSourceQueueBuffers", Object::Source, Object::Buffer},
    Row<decltype(alSourceUnqueueBuffers)>{"alSourceUnqueueBuffers", Object::Source, Object::Buffer},
    Row<decltype(alGenBuffers)>{"alGenBuffers", Object::None, Object::Buffer},
    Row<decltype(alDeleteBuffers)>{"alDeleteBuffers", Object::None, Object::Buffer},
    Row<decltype(alIsBuffer)>{"alIsBuffer", Object::Buffer},
    Row<decltype(alBufferData)>{"alBufferData", Object::Buffer},
    Row<decltype(alBufferDataStatic)>{"alBufferDataStatic", Object::Buffer},
    Row<decltype(alBufferf)>{"alBufferf", Object::Buffer},
    Row<decltype(alBuffer3f)>{"alBuffer3f", Object::Buffer},
    Row<decltype(alBufferfv)>{"alBufferfv", Object::Buffer},
    Row<decltype(alBufferi)>{"alBufferi", Object::Buffer},
    Row<decltype(alBuffer3i)>{"alBuffer3i", Object::Buffer},
    Row<decltype(alBufferiv)>{"alBufferiv", Object::Buffer},
    Row<decltype(alGetBufferf)>{"alGetBufferf", Object::Buffer},
    Row<decltype(alGetBuffer3f)>{"alGetBuffer3f", Object::Buffer},
    Row<decltype(alGetBufferfv)>{"alGetBufferfv", Object::Buffer},
    Row<decltype(alGetBufferi)>{"alGetBufferi", Object::Buffer},
    Row<decltype(alGetBuffer3i)>{"alGetBuffer3i", Object::Buffer},
    Row<decltype(alGetBufferiv)>{"alGetBufferiv", Object::Buffer},
    Row<decltype(alDopplerFactor)>{"alDopplerFactor"},
    Row<decltype(alDopplerVelocity)>{"alDopplerVelocity"},
    Row<decltype(alSpeedOfSound)>{"alSpeedOfSound"},
    Row<decltype(alDistanceModel)>{"alDistanceModel"},
    Row<decltype(alGenEffects)>{"alGenEffects", Object::None, Object::Effect},
    Row<decltype(alDeleteEffects)>{"alDeleteEffects", Object::None, Object::Effect},
    Row<decltype(alIsEffect)>{"alIsEffect", Object::Effect},
    Row<decltype(alEffecti)>{"alEffecti", Object::Effect},
    Row<decltype(alEffectiv)>{"alEffectiv", Object::Effect},
    Row<decltype(alEffectf)>{"alEffectf", Object::Effect},
    Row<decltype(alEffectfv)>{"alEffectfv", Object::Effect},
    Row<decltype(alGetEffecti)>{"alGetEffecti", Object::Effect},
    Row<decltype(alGetEffectiv)>{"alGetEffectiv", Object::Effect},
    Row<decltype(alGetEffectf)>{"alGetEffectf", Object::Effect},
    Row<decltype(alGetEffectfv)>{"alGetEffectfv", Object::Effect},
    Row<decltype(alGenFilters)>{"alGenFilters", Object::None, Object::Filter},
    Row<decltype(alDeleteFilters)>{"alDeleteFilters", Object::None, Object::Filter},
    Row<decltype(alIsFilter)>{"alIsFilter", Object::Filter},
    Row<decltype(alFilteri)>{"alFilteri", Object::Filter},
    Row<decltype(alFilteriv)>{"alFilteriv", Object::Filter},
    Row<decltype(alFilterf)>{"alFilterf", Object::Filter},
    Row<decltype(alFilterfv)>{"alFilterfv", Object::Filter},
    Row<decltype(alGetFilteri)>{"alGetFilteri", Object::Filter},
    Row<decltype(alGetFilteriv)>{"alGetFilteriv", Object::Filter},
    Row<decltype(alGetFilterf)>{"alGetFilterf", Object::Filter},
    Row<decltype(alGetFilterfv)>{"alGetFilterfv", Object::Filter},
    Row<decltype(alGenAuxiliaryEffectSlots)>{"alGenAuxiliaryEffectSlots", Object::None, Object::Slot},
    Row<decltype(alDeleteAuxiliaryEffectSlots)>{"alDeleteAuxiliaryEffectSlots", Object::None, Object::Slot},
    Row<decltype(alIsAuxiliaryEffectSlot)>{"alIsAuxiliaryEffectSlot", Object::Slot},
    Row<decltype(alAuxiliaryEffectSloti)>{"alAuxiliaryEffectSloti", Object::Slot},
    Row<decltype(alAuxiliaryEffectSlotiv)>{"alAuxiliaryEffectSlotiv", Object::Slot},
    Row<decltype(alAuxiliaryEffectSlotf)>{"alAuxiliaryEffectSlotf", Object::Slot},
    Row<decltype(alAuxiliaryEffectSlotfv)>{"alAuxiliaryEffectSlotfv", Object::Slot},
    Row<decltype(alGetAuxiliaryEffectSloti)>{"alGetAuxiliaryEffectSloti", Object::Slot},
    Row<decltype(alGetAuxiliaryEffectSlotiv)>{"alGetAuxiliaryEffectSlotiv", Object::Slot},
    Row<decltype(alGetAuxiliaryEffectSlotf)>{"alGetAuxiliaryEffectSlotf", Object::Slot},
    Row<decltype(alGetAuxiliaryEffectSlotfv)>{"alGetAuxiliaryEffectSlotfv", Object::Slot},
    Row<decltype(alRequestFoldbackStart)>{"alRequestFoldbackStart"},
    Row<decltype(alRequestFoldbackStop)>{"alRequestFoldbackStop"},
    Row<decltype(alcCreateContext)>{"alcCreateContext"},
    Row<decltype(alcMakeContextCurrent)>{"alcMakeContextCurrent"},
    Row<decltype(alcProcessContext)>{"alcProcessContext"},
    Row<decltype(alcSuspendContext)>{"alcSuspendContext"},
    Row<decltype(alcDestroyContext)>{"alcDestroyContext"},
    Row<decltype(alcGetCurrentContext)>{"alcGetCurrentContext"},
    Row<decltype(alcGetContextsDevice)>{"alcGetContextsDevice"},
    Row<decltype(alcOpenDevice)>{"alcOpenDevice"},
    Row<decltype(alcCloseDevice)>{"alcCloseDevice"},
    Row<decltype(alcGetError)>{"alcGetError"},
    Row<decltype(alcIsExtensionPresent)>{"alcIsExtensionPresent"},
    Row<decltype(alcGetProcAddress)>{"alcGetProcAddress"},
    Row<decltype(alcGetEnumValue)>{"alcGetEnumValue"},
    Row<decltype(alcGetString)>{"alcGetString"},
    Row<decltype(alcGetIntegerv)>{"alcGetIntegerv"},
    Row<decltype(tsrGetVersion)>{"tsrGetVersion"},
    Row<decltype(alcCaptureOpenDevice)>{"alcCaptureOpenDevice"},
    Row<decltype(alcCaptureCloseDevice)>{"alcCaptureCloseDevice"},
    Row<decltype(alcCaptureStart)>{"alcCaptureStart"},
    Row<decltype(alcCaptureStop)>{"alcCaptureStop"},
    Row<decltype(alcCaptureSamples)>{"alcCaptureSamples"},
    Row<ALCboolean(ALCcontext*)>{"alcSetThreadContext"},
    Row<ALCcontext*()>{"alcGetThreadContext"},
};
// clang-format on

inline constexpr std::size_t callCount = calls.count;
inline constexpr std::size_t exportedCount = callCount - 2;

/// The row of that name.
constexpr std::optional<std::size_t> FindCall(std::string_view name) {
    for (std::size_t i = 0; i < callCount; ++i)
        if (calls[i].name == name) return i;
    return std::nullopt;
}

/// The same for a name that is there: another one doesn't compile.
consteval std::size_t IndexOf(std::string_view name) {
    return FindCall(name).value();
}

}  // namespace recording
