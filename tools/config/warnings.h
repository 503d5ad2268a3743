#pragma once

// What a change found to be doubtful, or worth knowing, on standard output. For the commands; one thread.

#include <string>
#include <vector>

namespace tool {

/// A line each, behind "Warning: ".
void PrintWarnings(const std::vector<std::string>& warnings);

/// A line of its own, unless it is empty.
void PrintNote(const std::string& note);

}  // namespace tool
