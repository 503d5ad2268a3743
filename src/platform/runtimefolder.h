#pragma once

// The folder for what a user's processes tell each other while they run, and nobody else. For the library and
// for programs; any thread. The environment is read afresh at every call.

#include <filesystem>
#include <string>
#include <vector>

namespace platform {

/// `ROOT` in `$XDG_RUNTIME_DIR`, or else in /run/user/UID, where that is a folder of this user's; or else
/// /tmp/ROOT-UID. It is made where it doesn't exist. It belongs to this user and nobody else may enter it.
/// Empty where there is no such folder, and in a program with more rights than its caller
/// (platform/privileges.h). `root` is one directory name.
std::filesystem::path MakeRuntimeFolder(const std::string& root);

/// Those of the three that exist, belong to this user and are closed to others, in the same order: a process
/// may have been started with another environment. Makes none.
std::vector<std::filesystem::path> RuntimeFolders(const std::string& root);

}  // namespace platform
