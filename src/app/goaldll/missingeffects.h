#pragma once

// The effects of EFX that aren't there. A game that asks for one is refused, and the log says so, for its
// developer hears a slot without an effect and may not look at the error. Called by the calls that are given
// effects; any thread.

#include <cstdint>
#include <string_view>

#include "app/goaldll/process.h"

namespace goal {

/// Logs that a game asked for that AL_EFFECT_ type, if it is one of those: once for each in a process. Never
/// throws.
void NoteEffectType(Process& process, std::int32_t type) noexcept;

/// The same for the name of one, as a game looks it up.
void NoteEffectName(Process& process, std::string_view name) noexcept;

}  // namespace goal
