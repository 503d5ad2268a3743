#pragma once

// Writes transforms in the stored forms. For the format library, at set-up, and for the tools that make one;
// no state, usable from any thread on distinct streams.

#include <ostream>
#include <string>

#include "orb3core/transform/transformform.h"

namespace orb3::strans {

/// Appends the transform to the stream and flushes it. The binary forms leave out what is outside the window,
/// which is silence; a transform of nothing but silence is fine in every form.
///
/// Throws slib::BadDataException, before anything is written, for a transform that isn't valid, is empty or
/// has values that the form can't hold; and slib::OperatingSystemErrnoException when the stream fails.
void writeTransform(std::ostream& stream, const TimeDomainTransform<double, 1>& transform,
                    TransformForm form);

/// The same, into a file that is created, or emptied once the transform is known to fit. A failed write
/// leaves a file that is cut short.
void writeTransform(const std::string& path, const TimeDomainTransform<double, 1>& transform,
                    TransformForm form);

}  // namespace orb3::strans
