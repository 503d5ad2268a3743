#pragma once

// Guards against a change that would be valid and still spoil the sound: a slip of a digit, mostly. One
// thread.

#include "orb3core/settings/configuration.h"

namespace tool {

/// Throws WrongUse when `after` asks for a gain over 100 or for more than two seconds in the output's buffer,
/// and `before` didn't ask for the same.
void CheckSense(const orb3::Configuration& before, const orb3::Configuration& after);

}  // namespace tool
