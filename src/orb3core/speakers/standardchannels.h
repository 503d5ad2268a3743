#pragma once

// Names of output channels. Used by layout selection to tie a layout's channels to those of a device.

#include <string_view>

namespace orb3 {

/// Compares two channel names, leaving out white space and everything in parentheses; case counts. "Front
/// Left (L)" matches "FrontLeft".
bool NamesMatch(std::string_view a, std::string_view b);

}  // namespace orb3
