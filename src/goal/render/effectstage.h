#pragma once

// Runs the effects of the auxiliary slots, each once a block, in the order of the slots, after all sources:
//
//     slot's input (its sends) ── EffectProcessorState::process ──> wet ──┬──> spatial bus
//                                                                         ├──> bus of an arrangement
//                                                                         └──> dedicated output
//
// A slot's effect lives from the block in which the slot first has its type until the slot loses it or gets
// another type, and its tail with it; a change of parameters keeps both (see CopyToSnapshot). Effects don't
// feed each other. Used by the renderer on the server's thread; allocates only where an effect's memory was
// spoilt.

#include <cstdint>
#include <memory>

#include "goal/fx/effectprocessorstate.h"
#include "goal/render/arraybuses.h"
#include "goal/render/renderoutput.h"
#include "goal/render/sloteffect.h"
#include "goal/render/wetgains.h"
#include "goal/state/enginestate.h"
#include "numeric/bus.h"
#include "slib/realtime.h"

namespace goal {

class EffectStage {
public:
    /// For blocks of context.blockFrames and a bus of `spatialChannels`. What `context` refers to outlives
    /// the stage. Throws slib::OutOfMemoryException.
    EffectStage(const RenderContext& context, std::uint32_t spatialChannels);

    /// Makes the effects that this stage runs.
    const std::shared_ptr<const SlotEffectBuilder>& Builder() const { return builder; }

    /// Gives the effects that the last block spoilt clean memory. Throws slib::OutOfMemoryException.
    void Renew(const RenderSnapshot& snapshot) const;

    /// Adds the block of each effect to where it goes. The inputs have what was sent to them in this block.
    /// An effect that has left its slot goes on without an input, and fades out in a tenth of a second, or
    /// soon where the next one is waiting to leave. What an effect makes of samples or settings that aren't
    /// finite is left out, and its memory renewed for the next block, so that nothing of it remains. Throws
    /// slib::IntegrityFailureException for an unknown output kind.
    void Run(const RenderSnapshot& snapshot, ArrayBuses& arrays, RenderOutput& output) SLIB_NONBLOCKING;

private:
    void RunEffect(SlotEffect& effect, EffectStay stay, const GlobalParameters& globals, ArrayBuses& arrays,
                   RenderOutput& output);
    void Process(SlotEffect& effect, float gain, const GlobalParameters& globals, std::uint32_t channelCount);

    const std::shared_ptr<const SlotEffectBuilder> builder;
    const std::unique_ptr<WetGains> gains;
    hcml::ac::Bus wet;  // the output of the current effect, in as many channels as it has
};

}  // namespace goal
