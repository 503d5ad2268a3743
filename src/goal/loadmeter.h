#pragma once

// Tells whether a machine keeps up with a run, by how long the output had to be waited for. Used by the
// server's thread, once a block.
//
//     share = (time passed - time waited for room in the output) / time that the blocks play
//
// A machine that keeps up writes as many blocks as are played, and waits for the rest of the time; one that
// doesn't never waits, and writes fewer.

#include <cstdint>
#include <optional>

#include "slib/realtime.h"

namespace goal {

class LoadMeter {
public:
    /// Seconds from one answer to the next.
    static constexpr double window = 0.5;

    /// `blockSeconds` is what a block plays.
    explicit LoadMeter(double blockSeconds) : blockSeconds(blockSeconds) {}

    /// A block was written. `now` is the time and `waited` the time spent waiting so far, both in seconds
    /// that only grow. The share with the block that ends a window; nothing with the others, and in the first
    /// window, which fills the output.
    std::optional<double> Note(double now, double waited) SLIB_NONBLOCKING;

private:
    const double blockSeconds;
    std::uint32_t blocks = 0;   // of this window
    std::uint32_t windows = 0;  // before it
    double startTime = 0;
    double startWaited = 0;
};

}  // namespace goal
