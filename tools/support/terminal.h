#pragma once

// The terminal that a person watches. For the programs; any thread.

#include <cstddef>
#include <string>

namespace tool {

/// The columns of the terminal behind a descriptor; 0 where there is none, as with a pipe or a file.
std::size_t TerminalWidth(int descriptor);

/// Of UTF-8: characters, not bytes.
std::size_t WidthOf(const std::string& text);

/// A sentence on standard error, behind the name of this program. What a Progress shows there gives way.
void Complain(const std::string& sentence);

}  // namespace tool
