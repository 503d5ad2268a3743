#pragma once

// An effect as it runs in an auxiliary slot, with the input that its sends are gathered in. A game's call
// builds one (SlotEffectBuilder), the copy hands it to the renderer, whose SendStage fills the input and
// whose EffectStage runs the effect.

#include <cstdint>
#include <memory>
#include <optional>

#include "goal/dsp/smoothvalue.h"
#include "goal/fx/effectprocessorstate.h"
#include "goal/render/mixbatch.h"
#include "goal/render/sourcegeometry.h"
#include "goal/state/enginestate.h"
#include "numeric/bus.h"
#include "slib/realtime.h"

namespace goal {

struct SlotEffect final : RunningEffect {
    std::unique_ptr<EffectProcessorState> state;  ///< null when its memory is to be replaced by a clean one
    hcml::ac::Bus input;                          ///< one channel, those of the axes, or of the spatial bus
    std::unique_ptr<MixBatch> sends;              ///< that aren't in the input yet
    SendTarget target;                            ///< as of the current block
    float slotGain = 1;                           ///< of its last block in the slot
    std::optional<SmoothValue> wetGain;           ///< where it moves smoothly; none before its first block
};

/// The running effect of a slot in a snapshot of this renderer's run.
inline SlotEffect& EffectOf(const RenderedSlot& slot) {
    return static_cast<SlotEffect&>(*slot.effect);
}

/// Clears the inputs of the effects of a snapshot, and notes what the slots are for this block.
void ClearInputs(const RenderSnapshot& snapshot) SLIB_NONBLOCKING;

/// What the send goes to. A name beyond the table, of a slot without an effect or with one that is leaving,
/// or that another slot has taken since, has no target: null.
SlotEffect* TargetOf(const SourceBaseParameters::AuxSend& send,
                     const RenderSnapshot& snapshot) SLIB_NONBLOCKING;

/// Brings all that was sent to the effect into its input. To be called for each effect in each block, for
/// until then its sends may wait, and with them the memories of their filters.
inline void Gather(SlotEffect& effect) SLIB_NONBLOCKING {
    effect.sends->Flush(effect.input);
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
