#pragma once

// Where the configuration store lives on this machine, after the XDG base directories. The environment is
// read afresh at every call, from any thread; in a program with more rights than its caller
// (platform/privileges.h) it isn't, as if it were empty.

#include <filesystem>
#include <string>

namespace platform {

/// The file of the user scope: `$XDG_CONFIG_HOME` (else `~/.config`) `/ROOT/store.conf`. Empty when neither
/// variable nor the user database names a home. `root` is one directory name.
std::filesystem::path UserStorePath(const std::string& root);

/// The file of the log, beside that of the user scope. Empty as that one.
std::filesystem::path UserLogPath(const std::string& root);

/// The file of the machine scope: the first `ROOT/store.conf` that exists along `$XDG_CONFIG_DIRS` (else
/// `/etc/xdg`), then in `etc/xdg` of the tree that this library was loaded from. Where none exists, the last
/// of these places.
std::filesystem::path MachineStorePath(const std::string& root);

/// `$HOME`, or else what the user database says. Empty where neither names a folder by a full path.
std::filesystem::path UserHome();

/// The user's own data: `$XDG_DATA_HOME` (else `~/.local/share`) `/ROOT`. Empty as above.
std::filesystem::path UserDataPath(const std::string& root);

/// The tree that this code was loaded from: the folder above the one of the libraries (or, where the code is
/// part of a program, of the programs). Links are resolved. Empty when the loader can't tell.
std::filesystem::path LoadedTree();

}  // namespace platform
