#pragma once

// The folder in which the games that this program starts leave their status pages, so that they can be read
// when the games have ended. On the main thread.

#include <filesystem>

namespace tool {

/// Exists as long as this object lives.
class LinksFolder {
public:
    /// Makes it in the user's runtime folder, and removes those of programs that were killed. Where there can
    /// be none, `path` is empty.
    LinksFolder();
    ~LinksFolder();
    LinksFolder(const LinksFolder&) = delete;
    LinksFolder& operator=(const LinksFolder&) = delete;

    std::filesystem::path path;
};

}  // namespace tool
