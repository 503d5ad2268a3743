#pragma once

// Libraries in a game's folder that the game would load in place of ours, by whatever way the loader finds
// them. For tools; one thread.

#include <filesystem>
#include <vector>

namespace tool {

struct ForeignLibrary {
    std::filesystem::path file;
    int bits = 0;  ///< 32 or 64
    /// Of the folder's programs and libraries those whose own search path (RPATH, RUNPATH) leads to it.
    std::vector<std::filesystem::path> ledBy;
    bool isAheadOfEnvironment = false;  ///< for one of them it comes before LD_LIBRARY_PATH
};

/// The OpenAL libraries in `folder` and below it, and those elsewhere that the search path of a program in
/// there leads to, but for ours under whatever name; ordered by file. A link is named where it stands. Of a
/// folder that is very large or deep a part is looked at; what can't be read is left out.
std::vector<ForeignLibrary> FindForeignLibraries(const std::filesystem::path& folder);

}  // namespace tool
