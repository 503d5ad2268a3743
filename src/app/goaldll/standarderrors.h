#pragma once

// The faults of a game that OpenAL 1.1 and EFX answer by another error code than this library does for all
// games. The switch StandardErrors of a game's profile chooses the standard's. Used by the calls; any thread.

#include <cstddef>

#include "app/goaldll/process.h"

namespace goal {

enum class Fault : std::size_t {
    BufferOfMovingSource,  ///< AL_BUFFER of a source that plays or is paused
    UnknownSourceToDelete,
    UnknownEfxObjectToDelete,
    NegativeCountOfSources,  ///< to play, stop, rewind or pause
    BuffersOfOtherKind,      ///< queued behind those of another format or rate
    TooManyToUnqueue,
    ParameterOutOfRange,  ///< of an effect
    UnknownParameterOfFilter,
    NoMemoryForNames,
};

/// The AL error code for it, by the profile in force. A code that the standard doesn't have is counted as a
/// refusal.
int CodeOf(Fault fault) noexcept;

/// True where the standard's meaning is in force. For what the game gets either way, by another meaning.
inline bool IsStandardInForce() noexcept {
    return TheProcess().profile.IsOn(GameSwitch::StandardErrors);
}

/// The same for what the game gets only so: false counts a refusal.
inline bool AllowsStandard() noexcept {
    return TheProcess().profile.Allows(GameSwitch::StandardErrors);
}

}  // namespace goal
