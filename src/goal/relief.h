#pragma once

// What a run gives up, one thing after the other, on a machine that doesn't keep up with it: first the order
// of the bus, then the quality of the reverb, at last the effects. The server's, on its thread.

#include <optional>
#include <string>

#include "orb3core/settings/goalconfig.h"

namespace goal {

struct Relief {
    std::optional<int> highestOrder;  ///< none but the configured one
    bool isReverbPlain = false;
    bool isWithoutEffects = false;

    /// The settings with less of what they ask for.
    orb3::GoalConfig Of(orb3::GoalConfig settings) const;

    /// Gives up the next thing of a run of this order, by these settings. Returns a line for the log, or
    /// nothing when there is nothing left.
    std::string Increase(int order, const orb3::GoalConfig& settings);
};

}  // namespace goal
