#pragma once

// The decoder of the measured head in the default format library, for the benchmark programs.

#include "orb3core/transform/timedomaintransform.h"
#include "slib/log.h"

/// The log of what the benchmark programs render with: errors, on the console. Static.
slib::Log* ErrorsToConsole();

/// From the bus of order 4 at 48 kHz to two ears. Reads the library of the build tree, and points this
/// process's store into a folder that is gone afterwards. Throws std::runtime_error where the library has no
/// such decoder.
orb3::strans::TimeDomainTransform<float, 1> ReadHeadphones();
