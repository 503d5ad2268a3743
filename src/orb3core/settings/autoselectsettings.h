#pragma once

// The choice of settings that the machine can carry, for a start without a stored configuration.

#include "orb3core/settings/goalconfig.h"
#include "slib/log.h"

namespace orb3 {

/// Fills `goalConfig`, but for its sound, with the defaults and what `processors` of that rating
/// (hcml::performance::MeasurePower) carry together in that sound, and logs the rating to `log` as
/// information. No power is too small or too great.
void SelectSettings(GoalConfig& goalConfig, unsigned processors, double rating, slib::Log* log);

/// What a start runs on until the machine is measured: what most of them carry, so that most go on with it.
/// The sound stays.
void SelectProvisionalSettings(GoalConfig& goalConfig);

/// Measures the machine, which takes a second, and selects settings by it. Throws what slib::Thread::Start
/// throws.
void AutoselectSettings(GoalConfig& goalConfig, slib::Log* log);

}  // namespace orb3
