#pragma once

// The auxiliary sends: what each source adds to the inputs of the effect slots, through a filter of its own
// per send. The renderer clears the inputs at the start of a block and calls the stage for each source; the
// slots' effects read the inputs afterwards (EffectStage). In between a slot's sends are gathered, to be
// filtered side by side and added at once. On the server's thread; allocates nothing after construction.

#include <cstdint>

#include "goal/dsp/filtergaintables.h"
#include "goal/render/mixbatch.h"
#include "goal/render/sloteffect.h"
#include "goal/render/sourcegeometry.h"
#include "goal/state/enginestate.h"
#include "numeric/bus.h"
#include "numeric/floattuplevector.h"
#include "slib/realtime.h"

namespace goal {

class SendStage {
public:
    /// For blocks of `frames` and a bus of `spatialChannels`. `tables` is borrowed and outlives the stage;
    /// `defaultFilterOrder` is 1 or 2.
    SendStage(std::uint32_t frames, std::uint32_t spatialChannels, const FilterGainTables& tables,
              int defaultFilterOrder);

    /// All sends of a one-channel source. `samples` is its block before any filter, `scale` brings that to
    /// full scale.
    void SendMono(const Source& source, SourceRendererState& state, const RenderSnapshot& snapshot,
                  const SourceGeometry& geometry, const hcml::FloatTupleVector& samples,
                  float scale) SLIB_NONBLOCKING;

    /// All sends of a source of several channels. `samples` is its block; of B-format only channel 0 goes.
    void SendMultiChannel(const Source& source, SourceRendererState& state, const RenderSnapshot& snapshot,
                          const hcml::ac::Bus& samples, bool isBFormat, float scale) SLIB_NONBLOCKING;

private:
    bool Filter(const FilterParameters& filter, SourceFilterState& state,
                const hcml::FloatTupleVector& samples, const SendGains& gains, float floorScale,
                MixBatch& sends) const;
    void AddMono(SlotEffect& slot, SourceFilterState& state, const SourceGeometry& geometry,
                 float scale) const;

    const std::uint32_t spatialChannels;
    const FilterGainTables& tables;
    const int defaultFilterOrder;
    hcml::FloatTupleVector mono;  // the sum of several channels
};

}  // namespace goal
