#pragma once

// What the server needs of a renderer, so that a test can drive the server with one of its own. Built, called
// and destroyed on the server's thread.

#include "goal/render/renderoutput.h"
#include "slib/realtime.h"

namespace goal {

struct RenderSnapshot;

/// Renders the sources and effects of a snapshot, block by block.
class BlockRenderer {
public:
    virtual ~BlockRenderer() = default;
    virtual void renderBlock(RenderSnapshot& snapshot, RenderOutput& output) SLIB_NONBLOCKING = 0;
};

}  // namespace goal
