#pragma once

// Makes a whole format library. On the main thread.

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace tool {

/// The measured head that comes with the system, where the package is installed.
inline constexpr const char* systemHead = "/usr/share/libmysofa/default.sofa";

/// `chosen`, or else the system's head, or else nothing.
std::string HeadFile(const std::string& chosen);

struct MakingOptions {
    std::string path;                      ///< .afl (packed) or .dfl (plain text)
    std::string sofa;                      ///< a measured head (HRTF); the system's when empty
    bool hasNoSofa = false;                ///< no measured head at all
    std::vector<int> rates{44100, 48000};  ///< Hz, that transforms are stored at
    /// Where given called before each layout, with its number of so many and its name, and once all are
    /// designed.
    std::function<void(std::size_t number, std::size_t all, const std::string& layout)> report;
    std::function<void()> reportEnd;
};

/// All layouts, methods and orders, in place of what is at the path. Prints what it made. Throws
/// slib::BadDataException for a head or a path that can't be used.
void MakeLibrary(const MakingOptions& options);

}  // namespace tool
