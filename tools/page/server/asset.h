#pragma once

// A file of the page, built into the program. Any thread.

#include <string_view>

namespace page {

struct Asset {
    std::string_view path;  ///< "/" for the page itself, "/main.js"
    std::string_view type;  ///< "text/css; charset=utf-8"
    std::string_view content;
};

}  // namespace page
