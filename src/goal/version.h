#pragma once

// The version of the system, as its calls and its log give it.

namespace goal {

inline constexpr int versionMajor = 2;
inline constexpr int versionMinor = 5;
inline constexpr int versionPatch = 1;
inline constexpr const char* versionText = "2.5.1cm";

}  // namespace goal
