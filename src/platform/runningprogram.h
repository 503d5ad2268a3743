#pragma once

// What the program is called that this library is loaded into. Any thread; not for the audio thread.

#include <string>
#include <vector>

namespace platform {

/// The names by which people know the program, without folders, in the order of how well they say it: its
/// executable, what it was called by, then the first words of its command line that aren't options, which
/// name the game where the executable is an interpreter. Fewer where the system doesn't tell.
std::vector<std::string> RunningProgramNames();

/// The one of these that a person would know the program by: its executable, or, where that is an
/// interpreter, what it runs. "?" where the system doesn't tell.
std::string GameName();

/// The names of the files that the loader has mapped into the process, without folders.
std::vector<std::string> LoadedLibraryNames();

}  // namespace platform
