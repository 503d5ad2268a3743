#pragma once

// Which outputs of a device the speakers of a layout play on, where a person asks for that; a layout that
// follows the system's speakers has its outputs already. At set-up only; no state.

#include <cstdint>
#include <string>
#include <vector>

#include "orb3core/speakers/layout.h"

namespace orb3 {

/// The index of an output for each speaker, all of them different: of the speaker's own name, else of its
/// role, else the next one in order, and one of bass alone for a speaker of all else only when no other is
/// left. There are at least as many outputs as speakers.
std::vector<std::uint32_t> ConnectSpeakers(const std::vector<spk::Speaker>& speakers,
                                           const std::vector<std::string>& outputs);

/// Indices of the speakers that aren't sub-woofers and are connected to an output of bass alone.
std::vector<std::size_t> SpeakersOnBassOutputs(const spk::Layout& layout);

}  // namespace orb3
