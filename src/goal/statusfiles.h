#pragma once

// The files of status pages (goal/statuspage.h) in the user's runtime folder. For the library, which names
// its own and removes what ended processes left, and for the programs that read them. Any thread; throws only
// for lack of memory.

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace goal {

inline constexpr const char* statusFileEnding = ".status";
/// Of the environment: a folder in which each page of a process gets a second name, which outlives it.
inline constexpr const char* statusLinksVariable = "TESSARUNE_RUN";

/// "PID.status".
std::string StatusFileName(pid_t pid);
/// "PID.record": what that process is asked to record (goal/recordingrequest.h), beside its page.
std::string RecordingFileName(pid_t pid);

/// The status files in `folder`, in no order: of a very full folder some.
std::vector<std::filesystem::path> ListStatusFiles(const std::filesystem::path& folder);

/// Removes the pages of processes that have ended, and what those were asked to record, as far as this
/// process can tell: another space of process numbers (a container) is left alone.
void RemoveStaleStatusFiles(const std::filesystem::path& folder);

}  // namespace goal
