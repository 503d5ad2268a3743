#pragma once

// JSON that somebody else wrote, such as the page in a browser: read within bounds, so that none of it takes
// long or much memory. Any thread.

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <string_view>

namespace tool {

inline constexpr int deepestJson = 16;              ///< levels of objects and arrays
inline constexpr std::size_t mostJsonParts = 8192;  ///< members, values and brackets of one text

/// The object that `text` is. Of members of one name the last counts. Throws WrongUse for anything else, for
/// what is no UTF-8, and beyond the bounds.
nlohmann::ordered_json ParseJsonObject(std::string_view text);

}  // namespace tool
