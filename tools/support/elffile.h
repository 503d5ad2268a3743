#pragma once

// What a program or library says of itself in its ELF file: its width, its name, and where the loader looks
// for what it needs. Nothing in the file is trusted: whatever it holds, a bounded part of it is read. For
// tools; any thread.

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tool {

struct ElfFile {
    int bits = 0;                     ///< 32 or 64
    std::string name;                 ///< the SONAME; empty where there is none
    std::vector<std::string> needed;  ///< names of libraries
    /// Folders in which the loader looks for them, as they stand in the file ("$ORIGIN/lib"): of the RUNPATH,
    /// else of the RPATH.
    std::vector<std::string> searchPath;
    bool isAheadOfEnvironment = false;  ///< an RPATH, which the loader takes before LD_LIBRARY_PATH
};

/// Nothing for what can't be read, or is no ELF file of a little-endian machine. What is damaged behind the
/// first bytes is left out.
[[nodiscard]] std::optional<ElfFile> ReadElfFile(const std::filesystem::path& file);

}  // namespace tool
