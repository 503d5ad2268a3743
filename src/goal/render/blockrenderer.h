#pragma once

// What the server needs of a renderer, so that a test can drive the server with one of its own. Built, called
// and destroyed on the server's thread.

#include <cstdint>
#include <memory>

#include "goal/render/renderoutput.h"
#include "goal/state/enginestate.h"
#include "slib/realtime.h"

namespace goal {

/// Renders the sources and effects of a snapshot, block by block.
class BlockRenderer {
public:
    virtual ~BlockRenderer() = default;
    /// Makes the effects that the renderer can run; null for one that runs none.
    virtual std::shared_ptr<const EffectBuilder> Effects() const { return nullptr; }
    /// In how many blocks a source fades out that ends; 0: it ends at once.
    virtual std::uint32_t FadeBlocks() const { return 0; }
    virtual void renderBlock(RenderSnapshot& snapshot, RenderOutput& output) SLIB_NONBLOCKING = 0;
    /// After renderBlock threw: lets go of what of the snapshot was still to be worked on, and leaves a
    /// silent `output`.
    virtual void Abandon(RenderSnapshot& snapshot, RenderOutput& output) SLIB_NONBLOCKING {
        static_cast<void>(snapshot);
        output.Silence();
    }
};

}  // namespace goal
