#pragma once

// How the arguments of a call come from the input: a role for each argument, which draws one value that fits
// the function's type and that a careful or careless game might give. Pointers are always good for what the
// call may read or write, to the byte, so that the address sanitizer sees every step beyond; null only where
// the call tests for it. Used by the calls target, on its one thread.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "AL/tessarune.h"
#include "app/goaldll/alenums.h"
#include "app/goaldll/alprocs.h"
#include "app/goaldll/process.h"
#include "callinput.h"
#include "goal/bufferformats.h"

namespace calls {

/// The game, and what the target holds on its behalf from call to call.
struct World {
    explicit World(Input input) : input(input) {}

    goal::Context* Context() const { return process.engine.device.context; }

    goal::Process& process = goal::TheProcess();
    Input input;
    std::vector<std::unique_ptr<std::uint8_t[]>> staticData;  ///< of alBufferDataStatic
    bool isMerged = true;  ///< the renderer's progress is in the application state
};

/// One call under way: what its arguments drew so far, and the memory that they point to.
struct Call {
    explicit Call(World& world) : world(world), input(world.input) {}

    /// Heap memory of just that size until the end of the call.
    std::uint8_t* Allocate(std::size_t size) {
        memory.push_back(std::make_unique<std::uint8_t[]>(size));
        return memory.back().get();
    }

    World& world;
    Input& input;
    ALenum token = 0;   ///< the last drawn
    ALsizei count = 0;  ///< the length of a list, as the call is told it
    ALsizei size = 0;   ///< bytes of sample data, as the call is told it
    int values = 0;     ///< integers drawn so far
    std::vector<std::unique_ptr<std::uint8_t[]>> memory;
    std::vector<std::span<const std::uint8_t>> outputs;  ///< filled with `untouched` before the call
};

inline constexpr std::uint8_t untouched = 0xA5;

// ---- Names ----

enum class Table { Sources, Buffers, Slots, Effects, Filters };

struct TableView {
    std::uint32_t size;
    std::function<bool(std::uint32_t index)> isLive;
};

template <typename Entries>
TableView ViewOf(const Entries& entries) {
    return {entries.size, [&](std::uint32_t index) { return !entries[index].deleted; }};
}

inline TableView View(const World& world, Table table) {
    if (table == Table::Buffers) return ViewOf(world.process.engine.device.bufferPool.slots);
    goal::Context* const context = world.Context();
    if (context == nullptr) return {0, {}};
    switch (table) {
        case Table::Sources:
            return ViewOf(TargetState(*context).sources);
        case Table::Slots:
            return ViewOf(TargetState(*context).slots);
        case Table::Effects:
            return ViewOf(context->application.effects);
        case Table::Buffers:
        case Table::Filters:
            break;
    }
    return ViewOf(context->application.filters);
}

/// Mostly a live name, sometimes a deleted one, and now and then one that never was.
inline ALuint DrawName(Call& call, Table table) {
    const TableView view = View(call.world, table);
    const std::uint8_t choice = call.input.Byte();
    if (choice >= 240) return oddNames[choice % oddNames.size()];
    if (view.size == 0 || choice >= 232) return view.size + 1;
    std::uint32_t index = choice % view.size;
    for (std::uint32_t i = 0; choice < 200 && i < view.size && !view.isLive(index); ++i)
        index = (index + 1) % view.size;
    return index + 1;
}

struct Name {
    Table table;
    ALuint operator()(Call& call) const { return DrawName(call, table); }
};

/// The length of a list of names.
struct Count {
    ALsizei operator()(Call& call) const { return call.count = call.input.Pick(counts); }
};

/// The same for names to make: none when there are many, so that an input stays quick.
struct CountToMake {
    Table table;
    ALsizei operator()(Call& call) const {
        constexpr std::uint32_t enough = 12;
        constexpr std::array<ALsizei, 4> none{0, -1, greatest, tooLong};
        const bool isEnough = View(call.world, table).size >= enough;
        return call.count = isEnough ? call.input.Pick(none) : call.input.Pick(counts);
    }
};

inline std::size_t ListLength(const Call& call) {
    return call.count > 0 && call.count < tooLong ? static_cast<std::size_t>(call.count) : 0;
}

struct ListOfNames {
    Table table;
    const ALuint* operator()(Call& call) const {
        if (call.input.Byte() == 255) return nullptr;
        const std::size_t length = ListLength(call);
        auto* const names = reinterpret_cast<ALuint*>(call.Allocate(length * sizeof(ALuint)));
        for (std::size_t i = 0; i < length; ++i)
            names[i] = DrawName(call, table);
        return names;
    }
};

// ---- Pointers to results ----

template <typename T>
T* DrawOutput(Call& call, std::size_t length) {
    std::uint8_t* const bytes = call.Allocate(length * sizeof(T));
    std::fill_n(bytes, length * sizeof(T), untouched);
    call.outputs.emplace_back(bytes, length * sizeof(T));
    return reinterpret_cast<T*>(bytes);
}

struct ListToFill {
    ALuint* operator()(Call& call) const {
        return call.input.Byte() == 255 ? nullptr : DrawOutput<ALuint>(call, ListLength(call));
    }
};

enum class Null { Never, Tested };

template <typename T>
struct One {
    Null null = Null::Tested;
    T* operator()(Call& call) const {
        const bool isNull = null == Null::Tested && call.input.Byte() == 255;
        return isNull ? nullptr : DrawOutput<T>(call, 1);
    }
};

/// As many values as the token has.
inline std::size_t ValuesOf(ALenum token) {
    switch (token) {
        case AL_ORIENTATION:
            return 6;
        case AL_POSITION:
        case AL_VELOCITY:
        case AL_DIRECTION:
        case AL_AUXILIARY_SEND_FILTER:
        case AL_EAXREVERB_REFLECTIONS_PAN:
        case AL_EAXREVERB_LATE_REVERB_PAN:
            return 3;
        case AL_STEREO_ANGLES:
            return 2;
        default:
            return 1;
    }
}

template <typename T>
struct Results {
    Null null = Null::Tested;
    T* operator()(Call& call) const {
        const bool isNull = null == Null::Tested && call.input.Byte() == 255;
        return isNull ? nullptr : DrawOutput<T>(call, ValuesOf(call.token));
    }
};

// ---- Tokens and values ----

/// Mostly a token of the call's own, sometimes another, or any number.
struct Token {
    std::span<const ALenum> own;
    ALenum operator()(Call& call) const {
        const std::uint8_t choice = call.input.Byte();
        const std::span<const goal::EnumRow> all = goal::AlEnums();
        if (choice < 230 && !own.empty())
            call.token = own[choice % own.size()];
        else if (choice < 250)
            call.token = all[call.input.Word() % all.size()].value;
        else
            call.token = call.input.Integer();
        return call.token;
    }
};

inline ALfloat DrawValue(Call& call, ALfloat) {
    return AnyFloat(call.input);
}

/// The token says what the number means, and to which table it belongs if it is a name.
inline ALint DrawValue(Call& call, ALint) {
    const int place = call.values++;
    const auto name = [&](Table table) { return static_cast<ALint>(DrawName(call, table)); };
    switch (call.token) {
        case AL_AUXILIARY_SEND_FILTER:
            if (place == 1) return call.input.Pick(sendIndices);
            return place == 0 ? name(Table::Slots) : name(Table::Filters);
        case AL_BUFFER:
            return name(Table::Buffers);
        case AL_DIRECT_FILTER:
            return name(Table::Filters);
        case AL_EFFECTSLOT_EFFECT:
            return name(Table::Effects);
        default:
            return AnyInteger(call.input);
    }
}

template <typename T>
struct Value {
    T operator()(Call& call) const { return DrawValue(call, T()); }
};

template <typename T>
struct Values {
    Null null = Null::Tested;
    const T* operator()(Call& call) const {
        if (null == Null::Tested && call.input.Byte() == 255) return nullptr;
        const std::size_t length = ValuesOf(call.token);
        T* const values = reinterpret_cast<T*>(call.Allocate(length * sizeof(T)));
        for (std::size_t i = 0; i < length; ++i)
            values[i] = DrawValue(call, T());
        return values;
    }
};

/// One of a few integers that only this call takes.
template <std::size_t size>
struct OneOf {
    std::array<ALint, size> table;
    ALint operator()(Call& call) const { return call.input.Pick(table); }
};

// ---- Sample data ----

/// Whole blocks of the format that was drawn, or nearly so.
struct SampleData {
    bool isStatic;
    ALvoid* operator()(Call& call) const {
        const goal::BufferFormat* const format = goal::FindBufferFormat(call.token);
        const ALsizei block = format != nullptr ? static_cast<ALsizei>(format->blockBytes) : 1;
        call.size = block * call.input.Pick(blockCounts);
        const std::uint8_t choice = call.input.Byte();
        if (choice >= 240) call.size += choice % 2 == 0 ? 1 : least;
        const auto length = static_cast<std::size_t>(std::max(call.size, 0));
        if (!isStatic) return call.Allocate(length);
        call.world.staticData.push_back(std::make_unique<std::uint8_t[]>(length));
        return call.world.staticData.back().get();
    }
};

struct SampleSize {
    ALsizei operator()(Call& call) const { return call.size; }
};

struct Frequency {
    ALsizei operator()(Call& call) const { return call.input.Pick(frequencies); }
};

/// A ring for foldback that outlives its run, and long enough for whatever is asked.
struct FoldbackRing {
    ALfloat* operator()(Call& call) const {
        static std::array<ALfloat, 4 * 1024 * 2> ring;
        return call.input.Byte() == 255 ? nullptr : ring.data();
    }
};

struct FoldbackCallback {
    LPALFOLDBACKCALLBACK operator()(Call& call) const {
        if (call.input.Byte() == 255) return nullptr;
        return [](ALenum, ALsizei) {};
    }
};

// ---- ALC ----

inline int notAnObject = 0;

struct Device {
    ALCdevice* operator()(Call& call) const {
        const std::uint8_t choice = call.input.Byte();
        if (choice < 224) return reinterpret_cast<ALCdevice*>(&call.world.process.engine.device);
        return choice % 2 == 0 ? nullptr : reinterpret_cast<ALCdevice*>(&notAnObject);
    }
};

/// The one context or null. `strangers` adds a pointer that is no context, for calls that don't follow it.
struct ContextHandle {
    bool strangers;
    ALCcontext* operator()(Call& call) const {
        const std::uint8_t choice = call.input.Byte();
        if (choice < 232) return reinterpret_cast<ALCcontext*>(call.world.Context());
        return choice % 2 == 0 || !strangers ? nullptr : reinterpret_cast<ALCcontext*>(&notAnObject);
    }
};

/// `size` of alcGetIntegerv.
struct ResultSize {
    ALCsizei operator()(Call& call) const {
        constexpr auto sizes = std::to_array<ALCsizei>({1, 21, 23, 64, 3, 2, 20, 22, 24, 4, 0, -1, least});
        return call.count = call.input.Pick(sizes);
    }
};

/// Some queries don't ask for the size and write one value.
struct SizedResults {
    ALCint* operator()(Call& call) const {
        const auto length = static_cast<std::size_t>(std::max(call.count, 1));
        return call.input.Byte() == 255 ? nullptr : DrawOutput<ALCint>(call, length);
    }
};

/// A function, a token, an extension, or anything.
struct Text {
    const ALchar* operator()(Call& call) const {
        constexpr std::array<const char*, 6> texts{
            "", "ALC_EXT_EFX", "al_ext_float32", "ALC_FREQUENCY", "alcOpenDevice", "tsrGetVersion"};
        const std::uint8_t kind = call.input.Byte();
        if (kind == 255) return nullptr;
        const std::span<const goal::ProcRow> procs = goal::AlProcs();
        const std::span<const goal::EnumRow> enums = goal::AlEnums();
        if (kind < 80) return procs[call.input.Word() % procs.size()].name;
        if (kind < 160) return enums[call.input.Word() % enums.size()].name;
        if (kind < 220) return texts[kind % texts.size()];
        const std::size_t length = call.input.Byte() % 24;
        std::uint8_t* const bytes = call.Allocate(length + 1);
        std::generate_n(bytes, length, [&] { return call.input.Byte(); });
        return reinterpret_cast<const ALchar*>(bytes);
    }
};

// ---- Operations ----

/// What a call may do to the state that games see.
enum class Effect {
    Reads,  ///< nothing
    Sets,   ///< all that is asked for or, when it fails, nothing
    Makes,  ///< makes what it can
};

struct Operation {
    const char* name;
    Effect effect;
    std::function<void(Call& call)> run;
};

inline void ReadText(const char* text) {
    volatile std::size_t length = text != nullptr ? std::char_traits<char>::length(text) : 0;
    static_cast<void>(length);
}

/// A call of the interface, and a role for each of its arguments.
template <typename Result, typename... Parameters, typename... Roles>
Operation On(const char* name, Effect effect, Result (*function)(Parameters...), Roles... roles) {
    static_assert(sizeof...(Parameters) == sizeof...(Roles));
    return {name, effect, [=]([[maybe_unused]] Call& call) {
                const std::tuple<Parameters...> arguments{roles(call)...};  // from left to right
                if constexpr (std::is_same_v<Result, const char*>)
                    ReadText(std::apply(function, arguments));
                else
                    std::apply(function, arguments);
            }};
}

}  // namespace calls
