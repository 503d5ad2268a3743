#pragma once

// The version of the programs. Any thread.

#include <string>

namespace tool {

/// The project's version: "2.5.1".
std::string Version();

}  // namespace tool
