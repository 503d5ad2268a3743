#pragma once

// A setting's value in the tables that the commands print. One thread.

#include "orb3core/settings/configuration.h"
#include "orb3core/settings/settingtable.h"
#include "tools/support/table.h"

namespace tool {

/// As GetSetting has it: a number or a truth in JSON where the setting is one.
Cell SettingCell(const orb3::Setting& setting, const orb3::Configuration& configuration);

}  // namespace tool
