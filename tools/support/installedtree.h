#pragma once

// What a program of the tree finds beside itself: in a build tree, in an installed one wherever it was moved
// to, and in a distribution's folders. For tools; any thread.

#include <filesystem>
#include <vector>

namespace tool {

/// The library that a game loads. Throws slib::BadStateException with what to do when it isn't there.
std::filesystem::path LibraryOfThisTree();

/// Folders in which a loader finds the library under the names that games ask for, this program's kind first,
/// then that of the 32-bit games where the tree has one. Throws slib::BadStateException with what to do when
/// the first isn't there.
std::vector<std::filesystem::path> DropInFolders();

}  // namespace tool
