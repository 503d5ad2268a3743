#pragma once

// How a sound's level falls with distance: the models of alDistanceModel. A pure function of the renderer,
// called on the audio thread for the direct path of each one-channel source and for its sends. Allocates
// nothing.

#include "goal/state/enginestate.h"

namespace goal {

/// The linear gain of a source at `distance`, by the formulas of OpenAL 1.1. The three
/// lengths are in units of the scene.
///
/// The result is at least 0 and below 1e30: where a formula gives anything else (a linear model beyond its
/// end, a division by zero, a property that isn't a number), the gain is 1. Throws
/// slib::IntegrityFailureException on an unknown model.
float distanceGain(DistanceModel model, float referenceDistance, float maxDistance, float rolloff,
                   float distance);

}  // namespace goal
