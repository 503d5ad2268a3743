#pragma once

// Texts of commands that a person copies into a shell. On the main thread.

#include <string>

namespace tool {

/// `text` as one word of a shell, in single quotes.
inline std::string ForShell(const std::string& text) {
    std::string quoted = "'";
    for (const char c : text)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

}  // namespace tool
