#pragma once

// The version of the system, as its calls and its log state it. The numbers are those of the project in the
// top CMakeLists.txt and are kept nowhere else. Constants; usable from any thread.

namespace goal {

extern const int versionMajor;
extern const int versionMinor;
extern const int versionPatch;
extern const char* const versionText;  ///< the three numbers with dots, and "cm"

}  // namespace goal
