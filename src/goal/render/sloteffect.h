#pragma once

// An effect as it runs in an auxiliary slot, with the input that its sends are gathered in. A game's call
// builds one (SlotEffectBuilder), the copy hands it to the renderer, whose SendStage fills the input and
// whose EffectStage runs the effect.

#include <cstdint>
#include <memory>

#include "goal/fx/effectprocessorstate.h"
#include "goal/render/mixbatch.h"
#include "goal/render/sourcegeometry.h"
#include "goal/state/enginestate.h"
#include "numeric/bus.h"

namespace goal {

struct SlotEffect final : RunningEffect {
    std::unique_ptr<EffectProcessorState> state;  ///< null when its memory is to be replaced by a clean one
    hcml::ac::Bus input;                          ///< one channel, those of the axes, or of the spatial bus
    std::unique_ptr<MixBatch> sends;              ///< that aren't in the input yet
    SendTarget target;                            ///< as of the current block
};

/// The running effect of a slot in a snapshot of this renderer's run.
inline SlotEffect& EffectOf(const RenderedSlot& slot) {
    return static_cast<SlotEffect&>(*slot.effect);
}

class SlotEffectBuilder final : public EffectBuilder {
public:
    /// For blocks of context.blockFrames and a bus of `spatialChannels`. What `context` refers to outlives
    /// the effects' last block.
    SlotEffectBuilder(const RenderContext& context, std::uint32_t spatialChannels)
        : context(context), spatialChannels(spatialChannels) {}

    std::unique_ptr<RunningEffect> Build(const EffectProcessorParameters& parameters) const override;

    /// Clean memory for an effect whose own is spoilt. Throws slib::OutOfMemoryException.
    void Renew(SlotEffect& effect) const { effect.state = effect.parameters->createState(context); }

private:
    const RenderContext context;
    const std::uint32_t spatialChannels;
};

}  // namespace goal
