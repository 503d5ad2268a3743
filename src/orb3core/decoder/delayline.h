#pragma once

// The delays that keep the signals which pass the transform by in time with the decoded ones. Used by both
// forms of the decoder, on the thread that decodes.

#include <cstdint>
#include <vector>

#include "numeric/genericmatrix.h"
#include "numeric/genericvector.h"
#include "slib/realtime.h"

namespace orb3 {

/// The delay of one output channel. The ring's length is the smallest power of two above `delay`.
struct DelayLine {
    hcml::GenericVector<float, 1> ring;
    std::uint32_t readIndex = 0;
    std::uint32_t delay = 0;  ///< frames
    bool isOpen = false;      ///< it has had a feed
    bool used = false;        ///< it had a feed in this block
};

/// By output channel. A line stays open when its feed ends: first what it holds comes out, then silence.
using DelayLines = std::vector<DelayLine>;

/// Silent lines for `channels` outputs, of `delay` frames and those of `more`, by channel or none. Throws
/// slib::OutOfMemoryException or std::bad_alloc.
DelayLines MakeDelayLines(std::uint32_t channels, std::uint32_t delay,
                          const std::vector<std::uint32_t>& more);

/// Opens a block: no line has had its feed yet.
void ClearUsed(DelayLines& lines) SLIB_NONBLOCKING;

/// Passes the block's `samples`, one for each row of `output` (frames by output channels), through the line
/// of `channel`, and adds what comes out to that channel. At most once for each channel and block.
void MixFeed(DelayLines& lines, std::uint32_t channel, const float* samples,
             hcml::GenericMatrix<float, 1>& output) SLIB_NONBLOCKING;

/// Does the same with silence for each open line that had no feed since ClearUsed.
void DrainUnused(DelayLines& lines, hcml::GenericMatrix<float, 1>& output) SLIB_NONBLOCKING;

}  // namespace orb3
