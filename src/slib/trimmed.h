#pragma once

// A text without the space around it. No state; any thread.

#include <string_view>

#include "slib/text.h"

namespace slib {

/// Without what IsSpace takes for space, at both ends.
inline std::string_view Trimmed(std::string_view text) {
    while (!text.empty() && IsSpace(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

}  // namespace slib
