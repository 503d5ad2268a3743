#pragma once

// The gain of what a slot's effect makes, and of the tail of one that has left its slot: one for each of the
// two sounds, chosen with the effect stage. Used by that on the server's thread inside the block; nothing
// here allocates.

#include <memory>

#include "goal/fx/effectprocessorstate.h"
#include "goal/render/sloteffect.h"
#include "numeric/bus.h"
#include "slib/realtime.h"

namespace goal {

/// Where an effect is on its way.
enum class EffectStay {
    InSlot,
    Tail,          ///< dies away in a tenth of a second
    TailInTheWay,  ///< is to end soon
};

class WetGains {
public:
    virtual ~WetGains() = default;

    /// Moves the gain of `effect` on by a block, and its `tailGain`, which comes to 0 where the tail has
    /// ended. To be called once for each effect in each block, before it runs. What it leaves to the effect
    /// itself.
    virtual float Move(SlotEffect& effect, EffectStay stay) SLIB_NONBLOCKING = 0;

    /// Applies what Move has found to the first `channelCount` channels of that effect's block.
    virtual void Apply(hcml::ac::Bus& wet, std::uint32_t channelCount) const SLIB_NONBLOCKING = 0;

    /// The gains of that sound. Throws std::bad_alloc.
    static std::unique_ptr<WetGains> Make(const RenderContext& context);
};

}  // namespace goal
