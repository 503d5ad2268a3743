#pragma once

// The decoder of the measured head in the default format library, for the benchmark programs.

#include "orb3core/transform/timedomaintransform.h"

/// From the bus of order 4 at 48 kHz to two ears. Reads the library of the build tree, and points this
/// process's store into a folder that is gone afterwards. Throws std::runtime_error where the library has no
/// such decoder.
orb3::strans::TimeDomainTransform<float, 1> ReadHeadphones();
