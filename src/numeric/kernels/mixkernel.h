#pragma once

// The mix of a block's sources into the channels of a bus, as one matrix product. Called by the renderer on
// the audio thread, once per block and bus. Nothing is allocated, and every vector target gives the same
// bits.

#include <cstdint>

#include "slib/realtime.h"

namespace hcml {

/// What to mix into what; all of it the caller's. Rows are whole groups of four floats: `vectors` * 4 of them
/// exist, of sources and of channels. Rows should start at a multiple of 16 bytes, and are quickest at one of
/// 128. Source rows that are a multiple of 2 KiB apart compete for the same cache sets: pad them.
struct Mix {
    float* const* channels;       ///< rows that the sources are added to; none of them overlaps another row
    std::uint32_t channelCount;   ///< rows of `channels`, up to 25 at full speed
    const float* const* sources;  ///< rows to add
    std::uint32_t sourceCount;    ///< rows of `sources`, may be 0
    const float* coefficients;    ///< linear gain of source s in channel c at s * coefficientStride + c
    std::uint32_t coefficientStride;  ///< floats from the gains of one source to those of the next
    std::uint32_t vectors;            ///< groups of four floats in each row
};

/// Adds for every channel c and frame i the sum over s of coefficients[s * coefficientStride + c] *
/// sources[s][i] to channels[c][i]. Each sum starts at what the channel holds and takes the sources in the
/// order of their index, every product and every sum rounded: the result is that of one pass over the
/// channels per source, to the bit.
void MixSources(const Mix& mix) SLIB_NONBLOCKING;

/// Frames that a source is mixed with the same gains for in MixMovingSources.
constexpr std::uint32_t framesPerStep = 16;

/// What a row of gains has room for, and is read as a whole.
constexpr std::uint32_t gainsPerRow = 32;

/// The same for up to gainsPerRow channels where the gains move by `steps`, of the layout of the
/// coefficients, with each framesPerStep frames: the gain in frame i is coefficients[k] + (i / framesPerStep)
/// * steps[k]. Both have room for gainsPerRow gains of each source.
void MixMovingSources(const Mix& mix, const float* steps) SLIB_NONBLOCKING;

}  // namespace hcml
