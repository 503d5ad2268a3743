#pragma once

// Where the user keeps what can be listened to. One thread.

#include <filesystem>

namespace tool {

/// The folder for music that `user-dirs.dirs` names (xdg-user-dirs), where it is there; else the user's home.
/// Throws slib::BadStateException where he has none.
std::filesystem::path MusicFolder();

}  // namespace tool
