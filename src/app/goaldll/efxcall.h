#pragma once

// The frame of the calls on effects, filters and auxiliary effect slots, written once. All three live in a
// table of a context, a name is the index plus 1, and a deleted entry waits for the next name. Included by
// the sources of those calls and nothing else; on the game's threads.
//
// `tableOf(context)` returns the table that a call works on. With EFX objects, other than with sources, a bad
// name in a list to delete is AL_INVALID_VALUE.

#include <cstdint>
#include <exception>
#include <span>

#include "AL/al.h"
#include "app/goaldll/alcall.h"
#include "app/goaldll/standarderrors.h"

namespace goal {

/// Runs `work(entry)` with the live entry `name`. Any other name fails with AL_INVALID_NAME.
template <typename TableOf, typename Work>
void EntryCall(const TableOf& tableOf, ALuint name, Access access, bool pointersPresent,
               const Work& work) noexcept {
    ContextCall(access, pointersPresent, [&](Process&, Context& context) -> int {
        auto& table = tableOf(context);
        return IsLive(table, name) ? work(table[name - 1]) : AL_INVALID_NAME;
    });
}

/// Takes `n` entries, each set to `makeFresh(context, place, old)` with the deleted entry in its place, null
/// for none: the deleted ones from the lowest index, then new ones at the end. What was taken when the memory
/// ran out stays, with its names in `names`, and the call fails with AL_INVALID_VALUE.
template <typename TableOf, typename MakeFresh>
void GenCall(const TableOf& tableOf, ALsizei n, ALuint* names, Access access, bool argumentsValid,
             const MakeFresh& makeFresh) noexcept {
    ContextCall(access, argumentsValid, [&](Process& process, Context& context) -> int {
        auto& table = tableOf(context);
        if (n > longestList) return AL_INVALID_VALUE;
        try {
            for (ALsizei i = 0; i < n; ++i) {
                const std::uint32_t place = table.NextPlace();
                names[i] =
                    table.Take(makeFresh(context, place, place < table.size ? &table[place] : nullptr)) + 1;
            }
        } catch (const std::exception& exception) {
            process.FailAl(exception.what(), CodeOf(Fault::NoMemoryForNames));
        }
        return AL_NO_ERROR;
    });
}

/// Runs `remove(entry)` for each name, and deletes the entry; for none of them when one is bad.
template <typename TableOf, typename Remove>
void DeleteCall(const TableOf& tableOf, ALsizei n, const ALuint* names, Access access, bool argumentsValid,
                const Remove& remove) noexcept {
    ContextCall(access, argumentsValid, [&](Process&, Context& context) -> int {
        auto& table = tableOf(context);
        if (n > longestList) return AL_INVALID_VALUE;
        const std::span<const ALuint> list(names, n > 0 ? static_cast<std::size_t>(n) : 0);
        for (const ALuint name : list)
            if (!IsLive(table, name)) return CodeOf(Fault::UnknownEfxObjectToDelete);
        for (const ALuint name : list) {
            remove(table[name - 1]);
            table.Delete(name - 1);
        }
        return AL_NO_ERROR;
    });
}

/// True for a live name. Without a context it is false, and AL_INVALID_OPERATION.
template <typename TableOf>
ALboolean IsCall(const TableOf& tableOf, ALuint name) noexcept {
    ALboolean result = AL_FALSE;
    ContextCall(Access::Read, true, [&](Process&, Context& context) -> int {
        if (IsLive(tableOf(context), name)) result = AL_TRUE;
        return AL_NO_ERROR;
    });
    return result;
}

/// True for a gain that EFX takes: linear, 0 to 1.
inline bool IsGain(float value) {
    return value >= 0 && value <= 1;
}

}  // namespace goal
