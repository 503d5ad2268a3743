#pragma once

// Measured heads from SOFA files (AES69). Called by the designer; touches nothing but the file.

#include <string>

#include "library/headdata.h"

namespace design {

/// The head measured in the file at `path`: directions as they are stored, responses neither interpolated,
/// normalised nor resampled, the left ear first whatever the file's order. Sources at all distances are taken
/// alike. Throws slib::BadDataException, naming the file and the fault, when the file can't be read or isn't
/// a set of free-field impulse responses of two ears from at least 36 directions.
HeadImpulses ReadSofa(const std::string& path);

}  // namespace design
