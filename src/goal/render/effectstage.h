#pragma once

// The effects of the auxiliary slots: makes and destroys them as the slots change, and runs each once a
// block, in the order of the slots, after all sources:
//
//     slot's input (SendStage) ── EffectProcessorState::process ──> wet ──┬──> spatial bus
//                                                                         ├──> bus of an arrangement
//                                                                         └──> dedicated output
//
// A slot's effect lives from the block in which the slot first has its type until the slot loses it or gets
// another type, and its tail with it; a change of parameters keeps both. Effects don't feed each other. Used
// by the renderer on the server's thread; allocates only when an effect is made.

#include <cstdint>
#include <memory>
#include <vector>

#include "goal/fx/effectprocessorstate.h"
#include "goal/render/arraybuses.h"
#include "goal/render/renderoutput.h"
#include "goal/render/sendstage.h"
#include "goal/state/enginestate.h"
#include "numeric/bus.h"
#include "slib/realtime.h"

namespace goal {

class EffectStage {
public:
    /// For blocks of context.blockFrames and a bus of `spatialChannels`. What `context` refers to outlives
    /// the stage. Throws slib::OutOfMemoryException.
    EffectStage(const RenderContext& context, std::uint32_t spatialChannels);

    /// Brings the effects in line with the slots of a snapshot. Throws slib::OutOfMemoryException.
    void Sync(const RenderSnapshot& snapshot);

    /// The effects by the index of their slot, null where there is none.
    const std::vector<std::unique_ptr<EffectProcessorState>>& States() const { return states; }

    /// Adds the block of each effect to where it goes. `sends` has been synced to the same snapshot. What an
    /// effect makes of samples or settings that aren't finite is left out, and a new effect made for the next
    /// block, so that nothing of it remains. Throws slib::IntegrityFailureException for an unknown output
    /// kind.
    void Run(const RenderSnapshot& snapshot, SendStage& sends, ArrayBuses& arrays,
             RenderOutput& output) SLIB_NONBLOCKING;

private:
    void Process(EffectProcessorState& state, const AuxSlotParameters& slot, const GlobalParameters& globals,
                 const hcml::ac::Bus& input, std::uint32_t channelCount);

    const RenderContext context;
    std::vector<std::unique_ptr<EffectProcessorState>> states;
    hcml::ac::Bus wet;  // the output of the current effect, in as many channels as it has
};

}  // namespace goal
