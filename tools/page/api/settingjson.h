#pragma once

// Settings as the page has them. Plain functions.

#include <string>

#include "orb3core/settings/settingtable.h"
#include "tools/page/api/api.h"

namespace page {

/// The text of a setting as a number or a truth, where the setting is one.
Json SettingValue(const orb3::Setting& setting, const std::string& text);

/// What the page shows of a setting that has this value.
Json DescribeSetting(const orb3::Setting& setting, const std::string& text);

}  // namespace page
