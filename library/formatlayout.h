#pragma once

// From a library's formats back to what was designed: layouts of speakers, and orders of the sound field. For
// the checks and plots of libraries; free functions without state.

#include "library/layouts.h"
#include "orb3core/library/format.h"

namespace design {

/// The layout of a format with speakers. Where the format doesn't hold the distance they are shares of that
/// of the furthest speaker. Throws slib::BadParameterException for a format without speakers.
SpeakerLayout LayoutOfFormat(const orb3::fl::Format& format);

/// Speakers are at unequal distances that nobody measured, so that only energies can be known.
bool HasUnknownDelays(const SpeakerLayout& layout);

/// The order of the sound field that the format is; 0 for any other format.
unsigned OrderOfFormat(const orb3::fl::Format& format);

}  // namespace design
