#pragma once

// Measured heads from files that strangers made: read where a fault of the reader costs nothing. Called by
// programs before they have other threads.

#include <string>

#include "library/headdata.h"

namespace design {

/// What ReadSofa returns and throws, of a file that a child process reads with limits of memory, time and
/// files. One that makes the reader crash, or takes more, is refused as well.
HeadImpulses ReadSofaInChild(const std::string& path);

}  // namespace design
