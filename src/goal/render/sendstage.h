#pragma once

// The auxiliary sends: what each source adds to the inputs of the effect slots, through a filter of its own
// per send. The renderer syncs the inputs at the start of a block and calls the stage for each source; the
// slots' effects read the inputs afterwards (EffectStage). In between a slot's sends are gathered, to be
// filtered side by side and added at once. On the server's thread; allocates only when a slot takes an effect
// of another shape.

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "goal/dsp/filtergaintables.h"
#include "goal/fx/effectprocessorstate.h"
#include "goal/render/mixbatch.h"
#include "goal/render/sourcegeometry.h"
#include "goal/state/enginestate.h"
#include "numeric/bus.h"
#include "numeric/floattuplevector.h"
#include "slib/realtime.h"

namespace goal {

class SendStage {
public:
    /// For blocks of `frames` and a bus of `spatialChannels`. With `directional` reverbs take the axes of a
    /// source too. `tables` is borrowed and outlives the stage; `defaultFilterOrder` is 1 or 2.
    SendStage(std::uint32_t frames, std::uint32_t spatialChannels, bool directional,
              const FilterGainTables& tables, int defaultFilterOrder);

    /// Brings the inputs in line with the slots of a snapshot, and clears them. `effects` are those of the
    /// slots, null for none. Throws slib::OutOfMemoryException or std::bad_alloc.
    void Sync(const RenderSnapshot& snapshot, std::span<const std::unique_ptr<EffectProcessorState>> effects);

    /// The input of slot `index`, as Sync shaped it, with all that was sent to it; without channels for a
    /// slot without an effect. Call it for each slot with an effect in each block, for until then its sends
    /// may wait, and with them the memories of their filters.
    const hcml::ac::Bus& Input(std::uint32_t index) SLIB_NONBLOCKING;

    /// All sends of a one-channel source. `samples` is its block before any filter, `scale` brings that to
    /// full scale.
    void SendMono(const Source& source, SourceRendererState& state, const RenderSnapshot& snapshot,
                  const SourceGeometry& geometry, const hcml::FloatTupleVector& samples,
                  float scale) SLIB_NONBLOCKING;

    /// All sends of a source of several channels. `samples` is its block; of B-format only channel 0 goes.
    void SendMultiChannel(const Source& source, SourceRendererState& state, const hcml::ac::Bus& samples,
                          bool isBFormat, float scale) SLIB_NONBLOCKING;

private:
    struct Slot {
        hcml::ac::Bus input;
        std::unique_ptr<MixBatch> sends;  // that aren't in the input yet; null without an effect
        SendTarget target;
    };

    void SyncSlot(Slot& slot, const AuxSlotParameters& parameters, const EffectProcessorState* effect) const;
    Slot* Live(std::uint32_t slotName);
    bool Filter(const FilterParameters& filter, SourceFilterState& state,
                const hcml::FloatTupleVector& samples, const SendGains& gains, float floorScale,
                MixBatch& sends) const;
    void AddMono(Slot& slot, SourceFilterState& state, const SourceGeometry& geometry, float scale) const;

    const std::uint32_t frames;
    const std::uint32_t spatialChannels;
    const bool directional;
    const FilterGainTables& tables;
    const int defaultFilterOrder;
    std::vector<Slot> slots;
    hcml::FloatTupleVector mono;  // the sum of several channels
};

}  // namespace goal
