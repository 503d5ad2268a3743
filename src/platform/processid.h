#pragma once

// Which process it is: what tells a living process from another that had its number before. Read from /proc
// afresh at every call; any thread. Nothing here throws but for lack of memory.

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>

namespace platform {

/// When the process `pid` was started, in clock ticks since the machine's start. Nothing when there is no
/// such process.
std::optional<std::uint64_t> StartTimeOf(pid_t pid);

/// The identifier of the process's space of numbers: two processes that have the same may compare numbers. 0
/// when the system doesn't tell.
std::uint64_t PidSpaceOf(pid_t pid);

/// Whether that is the calling process.
bool IsThisProcess(pid_t pid, std::uint64_t startTime);

}  // namespace platform
