#pragma once

// Moves a transform to the sample rate of the device when none is stored for it. For the format library, on
// the thread that asks for the transform.

#include "orb3core/transform/timedomaintransform.h"

namespace orb3::strans {

/// Resamples all responses of `transform` in place to `newRate`, in Hz, and scales them so that the gain at
/// each frequency stays. `transition`, in Hz, is as hcml::VectorResampler takes it. A transform of one sample
/// at time zero only changes its rate.
///
/// The rings become ceil(length * newRate / oldRate) samples long, whole hertz taken, so that their length is
/// a power of two no more. The response begins at the sample nearest to its old time; samples of 0 at its
/// ends are left out of the window.
///
/// Throws slib::BadDataException for a transform that isn't valid, and what hcml::VectorResampler throws; the
/// transform may then hold anything.
void resample(TimeDomainTransform<float, 1>& transform, double newRate, double transition);

}  // namespace orb3::strans
