#pragma once

// Where a program keeps what it can make again, after the XDG base directories. The environment is read
// afresh at every call, from any thread.

#include <filesystem>
#include <string>

namespace platform {

/// `$XDG_CACHE_HOME` (else `~/.cache`) `/ROOT`. Empty when the environment names no home. `root` is one
/// directory name.
std::filesystem::path UserCachePath(const std::string& root);

/// True for a folder that this process may make files in: neither its owner and permissions nor a file system
/// that is mounted for reading only forbid it.
bool CanWriteInto(const std::filesystem::path& folder);

}  // namespace platform
