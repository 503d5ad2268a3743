#pragma once

// Who listens to what a decoder hands to its pipe.

#include "slib/realtime.h"

namespace orb3 {

class OutputTap {
public:
    virtual ~OutputTap() = default;

    /// A block of the decoder, limited: its frames by its output channels, interleaved. On the thread that
    /// decodes; allocates nothing, and never waits.
    virtual void Take(const float* block) SLIB_NONBLOCKING = 0;
};

}  // namespace orb3
