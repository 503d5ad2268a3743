#pragma once

// How a shared library of ours ends: by an unload, or with the process. Included by the one source of a
// library that acts on its end, which then has this state to itself.

#include <cstdlib>

namespace slib {

/// The one of the two that happened first. An unload runs the functions marked as destructors, then those
/// given to atexit and the destructors of objects, last registered first. `exit` runs what was given to
/// atexit since `main` began, then the same as an unload.
enum class LibraryEnd { None, Unload, Exit };

inline LibraryEnd libraryEnd = LibraryEnd::None;

inline void NoteLibraryEnd(LibraryEnd end) {
    if (libraryEnd == LibraryEnd::None) libraryEnd = end;
}

[[gnu::destructor, gnu::used]] inline void NoteLibraryUnload() {
    NoteLibraryEnd(LibraryEnd::Unload);
}

/// From `main` on: lets the end of the process be known from that of the library alone. A second time does
/// nothing.
inline void NoteLibraryExit() {
    [[maybe_unused]] static const int code = std::atexit([] { NoteLibraryEnd(LibraryEnd::Exit); });
}

}  // namespace slib
