#pragma once

// Between the precisions of transforms. For the format library, at set-up; no state.

#include "orb3core/transform/timedomaintransform.h"

namespace orb3::strans {

/// Sets `to`, another transform, to `from`; samples are rounded to the nearest float where they have to be.
/// Throws slib::OutOfMemoryException, and `to` stays as it was.
void ChangePrecision(const TimeDomainTransform<double, 1>& from, TimeDomainTransform<float, 1>& to);
void ChangePrecision(const TimeDomainTransform<float, 1>& from, TimeDomainTransform<double, 1>& to);

}  // namespace orb3::strans
