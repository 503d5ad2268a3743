#pragma once

// The delays that keep the signals which pass the transform by in time with the decoded ones. Used by both
// forms of the decoder, on the thread that decodes; a line is allocated when a channel gets its first feed.

#include <cstdint>
#include <map>

#include "numeric/genericmatrix.h"
#include "numeric/genericvector.h"
#include "slib/realtime.h"

namespace orb3 {

/// The delay of one output channel. The ring's length is the smallest power of two above `delay`.
struct DelayLine {
    hcml::GenericVector<float, 1> ring;
    std::uint32_t readIndex = 0;
    std::uint32_t delay = 0;  ///< frames
    bool used = false;        ///< it had a feed in this block

    /// Holds silence. Throws slib::OutOfMemoryException.
    explicit DelayLine(std::uint32_t delay);
};

/// By output channel. A line stays when its feed ends: first what it holds comes out, then silence.
using DelayLines = std::map<std::uint32_t, DelayLine>;

/// Opens a block: no line has had its feed yet.
void ClearUsed(DelayLines& lines) SLIB_NONBLOCKING;

/// Passes the block's `samples`, one for each row of `output` (frames by output channels), through the line
/// of `channel`, which is made with `delay` where there is none, and adds what comes out to that channel. At
/// most once for each channel and block.
void MixFeed(DelayLines& lines, std::uint32_t delay, std::uint32_t channel, const float* samples,
             hcml::GenericMatrix<float, 1>& output) SLIB_NONBLOCKING;

/// Does the same with silence for each line that had no feed since ClearUsed.
void DrainUnused(DelayLines& lines, hcml::GenericMatrix<float, 1>& output) SLIB_NONBLOCKING;

}  // namespace orb3
