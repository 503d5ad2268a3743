#pragma once

// The text form of a transform: three lines of header, then for each index of the rings an empty line and one
// line of numbers for each row. Locales have no say in it. Used by readTransform and writeTransform only.

#include <ostream>

#include "orb3core/transform/streamwindow.h"
#include "orb3core/transform/transformform.h"

namespace orb3::strans {

/// Replaces `transform` by the text from the window to the end of its stream; unvalidated, and without
/// impulses when there are none. Throws what readTransform throws.
template <typename T>
void ReadTransformText(StreamWindow& window, TimeDomainTransform<T, 1>& transform);

/// Writes a transform that has been validated. Throws what writeTransform throws.
void WriteTransformText(std::ostream& stream, const TimeDomainTransform<double, 1>& transform);

}  // namespace orb3::strans
