#pragma once

// Names for people made into names for stored layouts. Used by frameworks and devices; usable from any
// thread.

#include <string>
#include <string_view>

namespace audiopipe {

/// The Latin letters and the digits of `text`, in order. The locale of the host program plays no part.
std::string KeepAlphanumeric(std::string_view text);

}  // namespace audiopipe
