#pragma once

// The extension ALC_EXT_thread_local_context, which is offered where the game's profile has ThreadContexts
// on: two calls, reached through alcGetProcAddress alone, by which a thread has a current context of its own
// in place of the process's. Any thread.

#include <span>
#include <string_view>

#include "app/goaldll/nametable.h"
#include "app/goaldll/process.h"

namespace goal {

inline constexpr std::string_view threadContextsName = "ALC_EXT_thread_local_context";

/// alcSetThreadContext and alcGetThreadContext.
std::span<const ProcRow> ThreadContextProcs();

/// True where the extension is offered. Where it isn't, and `name` is that of the extension or of one of its
/// calls, a refusal is counted.
bool AllowsThreadContexts(Process& process, std::string_view name) noexcept;

}  // namespace goal
