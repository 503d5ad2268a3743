#pragma once

// Tables on the terminal.

#include <string>
#include <vector>

namespace tool {

/// Prints `rows` to standard output with each column as wide as it needs, two blanks apart, each line behind
/// `indent`. Texts are UTF-8.
void PrintTable(const std::vector<std::vector<std::string>>& rows, const std::string& indent = "  ");

}  // namespace tool
