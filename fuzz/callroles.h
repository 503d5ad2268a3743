#pragma once

// The bytes of the engine as a stream of small decisions, and how the arguments of a call come from it: a
// role for each argument, which draws one value that fits the function's type and that a careful or careless
// game might give. Pointers are always good for what the call may read or write, to the byte, so that the
// address sanitizer sees every step beyond; null only where the call tests for it. Used by the calls target,
// on its one thread.

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <limits>
#include <memory>
#include <span>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "AL/tessarune.h"
#include "app/goaldll/alcprocs.h"
#include "app/goaldll/alenums.h"
#include "app/goaldll/alprocs.h"
#include "app/goaldll/process.h"
#include "goal/sound/bufferformats.h"

namespace calls {

// ---- The input, and the values that the calls are tried with ----

/// Bytes from the front; zeros when there are no more.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : bytes(data, size) {}

    bool IsAtEnd() const { return bytes.empty(); }

    std::uint8_t Byte() {
        if (bytes.empty()) return 0;
        const std::uint8_t byte = bytes.front();
        bytes = bytes.subspan(1);
        return byte;
    }

    std::uint32_t Word() {
        std::uint32_t word = 0;
        for (int i = 0; i < 4; ++i)
            word = word << 8 | Byte();
        return word;
    }

    std::int32_t Integer() { return static_cast<std::int32_t>(Word()); }

    /// One of the table's values by one byte.
    template <typename Table>
    auto Pick(const Table& table) {
        return table[Byte() % std::size(table)];
    }

private:
    std::span<const std::uint8_t> bytes;
};

inline constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
inline constexpr std::int32_t greatest = std::numeric_limits<std::int32_t>::max();

/// Beyond what a call takes as a list of names: to be refused before the list is read.
inline constexpr std::int32_t tooLong = (1 << 20) + 1;

inline constexpr float infinity = std::numeric_limits<float>::infinity();

/// In and at the edge of the ranges of the parameters, and everything that a float may be besides.
// clang-format off
inline constexpr float floats[] = {
    0.0F, 1.0F, 0.5F, 0.25F, 0.1F, 0.02F, 0.9F, 0.95F, 2.0F, 3.0F, 9.0F, 10.0F, 20.0F, 90.0F, 180.0F,
    360.0F, 100.0F, 500.0F, 1000.0F, 4000.0F, 8000.0F, 20000.0F, 22050.0F, 65536.0F, -1.0F, -0.5F,
    -0.0F, 1.00001F, 10.00001F, 360.0001F, 1e-4F, 1e-30F, -1e-30F, 1e10F, 2147483648.0F, -3e9F,
    4294967296.0F, 1e19F, -1e19F, std::numeric_limits<float>::max(), infinity, -infinity,
    std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::lowest(),
    std::numeric_limits<float>::min(), std::numeric_limits<float>::denorm_min()};
// clang-format on

inline constexpr std::int32_t integers[] = {
    0,     1,         2,       3,     4,      5,      7,      10,       11,
    64,    65,        90,      100,   360,    361,    1000,   8000,     20000,
    65536, -1,        -2,      -360,  0x8000, 0x9000, 0x9001, greatest, greatest - 1,
    least, least + 1, 1 << 24, 0x1012};

/// Lengths of lists of names.
inline constexpr std::int32_t counts[] = {1, 2, 1, 3, 0, 1, 4, 8, -1, least, greatest, tooLong};

/// Names that no table has, or not always.
inline constexpr std::uint32_t oddNames[] = {0, 1, 2, 65536, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};

/// Indices of a source's sends. Those from 65536 on don't fit; the largest before it fit, but cost time.
inline constexpr std::int32_t sendIndices[] = {0, 1, 2, 3, 4, 5, 40, -1, least, 65536, greatest};

/// Whole blocks of sample data.
inline constexpr std::int32_t blockCounts[] = {1, 10, 100, 2, 0, 3, 65, 200};

inline float AnyFloat(Input& input) {
    const std::uint8_t choice = input.Byte();
    return choice < 240 ? floats[choice % std::size(floats)] : std::bit_cast<float>(input.Word());
}

inline std::int32_t AnyInteger(Input& input) {
    const std::uint8_t choice = input.Byte();
    return choice < 240 ? integers[choice % std::size(integers)] : input.Integer();
}

// ---- The game ----

/// The game, and what the target holds on its behalf from call to call.
struct World {
    explicit World(Input input) : input(input) {}

    goal::Context* Context() const { return process.engine.device.contexts.First(); }

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
    ALenum token = 0;         ///< the last drawn
    ALsizei count = 0;        ///< the length of a list, as the call is told it
    ALsizei size = 0;         ///< bytes of sample data, as the call is told it
    int values = 0;           ///< integers drawn so far
    bool isVector = false;    ///< the call's name ends so
    bool isTrusting = false;  ///< it tests no pointer
    std::vector<std::unique_ptr<std::uint8_t[]>> memory;
    std::vector<std::span<const std::uint8_t>> outputs;  ///< filled with `untouched` before the call
};

inline constexpr std::uint8_t untouched = 0xA5;

// ---- Names ----

/// Where a call tests for null it gets one now and then.
inline bool IsNull(Call& call) {
    return call.input.Byte() == 255;
}

enum class Table { Sources, Buffers, Slots, Effects, Filters };

/// Which entries of the table live.
inline std::vector<bool> Lives(const World& world, Table table) {
    const auto of = [](const auto& entries) {
        std::vector<bool> lives;
        for (const auto& entry : entries)
            lives.push_back(!entry.deleted);
        return lives;
    };
    if (table == Table::Buffers) return of(world.process.engine.device.bufferPool.slots);
    goal::Context* const context = world.Context();
    if (context == nullptr) return {};
    if (table == Table::Sources) return of(TargetState(*context).sources);
    if (table == Table::Slots) return of(TargetState(*context).slots);
    if (table == Table::Effects) return of(context->application.effects);
    return of(context->application.filters);
}

/// Mostly a live name, sometimes a deleted one, and now and then one that never was.
inline ALuint DrawName(Call& call, Table table) {
    const std::vector<bool> lives = Lives(call.world, table);
    const std::uint8_t choice = call.input.Byte();
    if (choice >= 240) return oddNames[choice % std::size(oddNames)];
    if (lives.empty() || choice >= 232) return static_cast<ALuint>(lives.size() + 1);
    std::size_t index = choice % lives.size();
    for (std::size_t i = 0; choice < 200 && i < lives.size() && !lives[index]; ++i)
        index = (index + 1) % lives.size();
    return static_cast<ALuint>(index + 1);
}

struct Name {
    Table table;
    ALuint operator()(Call& call) const { return DrawName(call, table); }
};

/// The length of a list of names.
inline constexpr auto count = [](Call& call) { return call.count = call.input.Pick(counts); };

/// The same for names to make: none when there are many, so that an input stays quick.
struct CountToMake {
    Table table;
    ALsizei operator()(Call& call) const {
        constexpr ALsizei none[] = {0, -1, greatest, tooLong};
        const bool isEnough = Lives(call.world, table).size() >= 12;
        return isEnough ? call.count = call.input.Pick(none) : count(call);
    }
};

inline std::size_t ListLength(const Call& call) {
    return call.count > 0 && call.count < tooLong ? static_cast<std::size_t>(call.count) : 0;
}

struct ListOfNames {
    Table table;
    const ALuint* operator()(Call& call) const {
        if (IsNull(call)) return nullptr;
        const std::size_t length = ListLength(call);
        auto* const names = reinterpret_cast<ALuint*>(call.Allocate(length * sizeof(ALuint)));
        std::generate_n(names, length, [&] { return DrawName(call, table); });
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

inline constexpr auto listToFill = [](Call& call) {
    return IsNull(call) ? nullptr : DrawOutput<ALuint>(call, ListLength(call));
};

/// As many values as the token has.
inline std::size_t ValuesOf(ALenum token) {
    constexpr ALenum ofThree[] = {AL_POSITION,
                                  AL_VELOCITY,
                                  AL_DIRECTION,
                                  AL_AUXILIARY_SEND_FILTER,
                                  AL_EAXREVERB_REFLECTIONS_PAN,
                                  AL_EAXREVERB_LATE_REVERB_PAN};
    if (token == AL_ORIENTATION) return 6;
    if (token == AL_STEREO_ANGLES) return 2;
    return std::ranges::count(ofThree, token) > 0 ? 3 : 1;
}

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

// ---- What a parameter of a type gets when a call names no role for it ----

inline ALfloat Draw(Call& call, ALfloat) {
    return AnyFloat(call.input);
}

/// The token says what the number means, and to which table it belongs if it is a name.
inline ALint Draw(Call& call, ALint) {
    const int place = call.values++;
    const auto name = [&](Table table) { return static_cast<ALint>(DrawName(call, table)); };
    if (call.token == AL_AUXILIARY_SEND_FILTER && place == 1) return call.input.Pick(sendIndices);
    if (call.token == AL_AUXILIARY_SEND_FILTER && place == 0) return name(Table::Slots);
    if (call.token == AL_BUFFER) return name(Table::Buffers);
    if (call.token == AL_EFFECTSLOT_EFFECT) return name(Table::Effects);
    const bool isFilter = call.token == AL_DIRECT_FILTER || call.token == AL_AUXILIARY_SEND_FILTER;
    return isFilter ? name(Table::Filters) : AnyInteger(call.input);
}

/// As many values as the call is to read or write, which are several only for the forms with a v.
template <typename T>
T* DrawPointee(Call& call) {
    const std::size_t length = call.isVector ? ValuesOf(call.token) : 1;
    if constexpr (!std::is_const_v<T>) {
        return DrawOutput<T>(call, length);
    } else {
        auto* const values = reinterpret_cast<std::remove_const_t<T>*>(call.Allocate(length * sizeof(T)));
        std::generate_n(values, length, [&] { return Draw(call, T()); });
        return values;
    }
}

template <typename T>
T* Draw(Call& call, T*) {
    return !call.isTrusting && IsNull(call) ? nullptr : DrawPointee<T>(call);
}

/// The same before a parameter that does need a role.
template <typename T>
struct Any {
    T operator()(Call& call) const { return Draw(call, T()); }
};

/// One of a few integers that only this call takes.
struct OneOf {
    std::vector<ALint> table;
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

inline constexpr auto sampleSize = [](Call& call) { return call.size; };

/// A ring for foldback that outlives its run, and long enough for whatever is asked.
inline constexpr auto foldbackRing = [](Call& call) {
    static std::array<ALfloat, std::size_t{4} * 1024 * 2> ring;
    return IsNull(call) ? nullptr : ring.data();
};

inline constexpr auto foldbackCallback = [](Call& call) {
    return IsNull(call) ? nullptr : LPALFOLDBACKCALLBACK([](ALenum, ALsizei) {});
};

/// The one context, null, or a handle that never was one.
inline constexpr auto contextOrNull = [](Call& call) {
    static int other = 0;
    const std::uint8_t choice = call.input.Byte();
    if (choice >= 250) return reinterpret_cast<ALCcontext*>(&other);
    return choice < 232 ? reinterpret_cast<ALCcontext*>(call.world.Context()) : nullptr;
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

inline const char* NameOf(void* entry) {
    for (const auto rows : {goal::AlProcs(), goal::AlcProcs()})
        for (const goal::ProcRow& row : rows)
            if (row.entry == entry) return row.name;
    std::abort();
}

inline Effect EffectOf(std::string_view name) {
    const auto has = [&](const char* part) { return name.find(part) != name.npos; };
    if (has("Gen")) return Effect::Makes;
    return has("Get") || has("Is") ? Effect::Reads : Effect::Sets;
}

/// A call of the interface with roles for its arguments from the first one on.
template <typename Result, typename... Parameters, typename... Roles>
Operation On(Result (*function)(Parameters...), Roles... roles) {
    const char* const name = NameOf(reinterpret_cast<void*>(function));
    const bool isVector = std::string_view(name).ends_with('v');
    const bool isOfSource = std::string_view(name).find("Source") != std::string_view::npos;
    const auto run = [=](Call& call) {
        call.isVector = isVector;
        call.isTrusting = isVector && isOfSource;  // of alSourcefv and its sisters
        constexpr std::size_t count = sizeof...(Roles);
        const std::tuple all(roles..., Any<Parameters>{}...);
        const auto arguments = [&]<std::size_t... i>(std::index_sequence<i...>) {
            return std::tuple<Parameters...>{
                std::get < i < count ? i : count + i > (all)(call)...};  // from left to right
        }
        (std::index_sequence_for<Parameters...>());
        std::apply(function, arguments);
    };
    return {name, EffectOf(name), run};
}

}  // namespace calls
