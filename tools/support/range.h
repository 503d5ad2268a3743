#pragma once

// What a setting may be, for people: as text, and the check of what they give. One thread.

#include <string>
#include <vector>

#include "orb3core/settings/settingtable.h"

namespace tool {

/// "1 to 4", "Low, Medium or High": behind "must be".
std::string RangeText(const orb3::SettingRange& range);

/// The words that it allows; none for numbers and paths.
std::vector<std::string> Words(const orb3::SettingRange& range);

/// The one way in which `text` is stored: for a flag other words that mean the same are taken as well, and
/// words in whatever case. Throws slib::BadParameterException, with a text like "must be 1 to 4, not '9'.",
/// for what isn't in the range.
std::string Canonical(const orb3::SettingRange& range, const std::string& text);

}  // namespace tool
