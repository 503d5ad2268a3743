#pragma once

// The refined form of the auxiliary sends. Gains are part of the weights, which move without a click. A send
// that gets another slot, or whose slot loses its effect, first fades out where it was and then in where it
// is to go. On the server's thread; allocates nothing after construction.

#include <cstdint>

#include "goal/dsp/filtergaintables.h"
#include "goal/render/sloteffect.h"
#include "goal/render/sourcegeometry.h"
#include "goal/render/weightmover.h"
#include "goal/state/enginestate.h"
#include "numeric/bus.h"
#include "numeric/floattuplevector.h"
#include "slib/realtime.h"

namespace goal {

class SendStage_v2 {
public:
    /// For blocks of `frames`. `mover` and `tables` are borrowed and outlive the stage; `defaultFilterOrder`
    /// is 1 or 2. Throws slib::OutOfMemoryException.
    SendStage_v2(const WeightMover& mover, const FilterGainTables& tables, std::uint32_t frames,
                 int defaultFilterOrder);

    /// All sends of a one-channel source, which is at `geometry`. `samples` is its block before any filter,
    /// `scale` brings that to full scale.
    void SendMono(Voice& voice, const RenderSnapshot& snapshot, const SourceGeometry& geometry,
                  const hcml::FloatTupleVector& samples, float scale) SLIB_NONBLOCKING;

    /// All sends of a source of several channels at `gain`. `samples` is its block; of B-format only channel
    /// 0 goes.
    void SendMultiChannel(Voice& voice, const RenderSnapshot& snapshot, const hcml::ac::Bus& samples,
                          bool isBFormat, float gain, float scale) SLIB_NONBLOCKING;

private:
    // Where a send goes, and whether it begins to do so, or to leave it.
    struct Path {
        SlotEffect& effect;
        const FilterParameters& filter;
        bool jumps;
    };

    SlotEffect* EffectFor(const SourceBaseParameters::AuxSend& send, SendState& state, const Voice& voice,
                          const RenderSnapshot& snapshot, bool& jumps) const;
    void Send(const Path& path, SendState& state, const Voice& voice, const SourceGeometry& geometry,
              const SendGains& gains, const hcml::FloatTupleVector& samples, float scale) const;

    const WeightMover& mover;
    const FilterGainTables& tables;
    const int defaultFilterOrder;
    hcml::FloatTupleVector mono;  // the sum of several channels
};

}  // namespace goal
