#pragma once

// The filters of SincBest: Kaiser-windowed sincs in 64 to 256 taps, whose rows lie so close that a line
// between two neighbours serves every position. The first is for ratios (input rate / output rate) up to 1;
// the others fall in cut-off, 16 to the octave, up to a ratio of 8. The sample rate converter builds them on
// the thread that starts the renderer; the audio thread reads them.

#include <array>
#include <cstdint>

#include "numeric/alignedmemory.h"
#include "numeric/kernels/sinckernel.h"

namespace goal {

struct BlendedSincSeries {
    static constexpr std::uint32_t filtersPerOctave = 16;
    static constexpr std::uint32_t octaves = 3;
    static constexpr std::uint32_t mostTaps = 256;

    /// Filter f is for ratios around 2^(f / filtersPerOctave). The first has its cut-off at half the input
    /// rate, so that it passes the frames as they are where it meets them; the others reject by 97 dB what
    /// would alias from half the output rate on.
    std::array<hcml::BlendedSincFilter, octaves * filtersPerOctave + 1> filters{};

    hcml::AlignedFloats floats;  ///< the rows of all

    /// Designs them, which takes some milliseconds. Throws slib::OutOfMemoryException.
    BlendedSincSeries();
};

}  // namespace goal
