#pragma once

// The refined reverb, basic and full:
//
//     input ── RoomShelves ─┬─ EarlyReflections ──────────────────────────────────────────> W X Y Z
//                           └─ LatePreDelay_v2 ── ReverbEcho_v2 ── LateNetwork ── LateDirections ──> all
//                           channels
//
// Early reflections are those of ReverbState_v2. The late part has the decay times, the level, the beginning
// and the diffuse field that are asked of it, each by itself. No change of a parameter clicks: each stage
// fades from its old settings to the new ones. Made and run on the server's thread; only the constructor
// allocates.

#include "goal/fx/earlyreflections.h"
#include "goal/fx/latedirections.h"
#include "goal/fx/latenetwork.h"
#include "goal/fx/latepredelay_v2.h"
#include "goal/fx/reverb.h"
#include "goal/fx/reverbecho_v2.h"
#include "goal/fx/roomshelves.h"

namespace goal::fx {

class ReverbState_v3 : public ReverbState {
public:
    /// The settings say whether early reflections have directions, and then the input has four channels, and
    /// whether sixteen or eight lines run. Throws slib::OutOfMemoryException.
    ReverbState_v3(const ReverbParameters& parameters, const RenderContext& context);

    void process(const EffectProcessArgs& args) SLIB_NONBLOCKING override;

private:
    void AddEarly(const EffectProcessArgs& args);
    void AddLate(const EffectProcessArgs& args);
    void FollowRoom();
    double HighTimeLimit() const;
    LateField Field(float slotGain) const;

    const float sampleRate;  // Hz
    const Basis& listenerBasis;
    const CrossfadeCourse course;
    ReverbParametersBase parameters;  // of the current block
    RoomEcho askedRoom{.depth = -1};  // as a game has set it
    RoomEcho room;                    // with the decay that it takes
    RoomShelves shelves;
    EarlyReflections early;
    Crossfade<EarlyReflections::Taps> earlyFade;
    hcml::ac::Bus earlyOutput, earlyFading;
    LatePreDelay_v2 preDelay;
    ReverbEcho_v2 echo;
    LateNetwork network;
    LateDirections directions;
    hcml::FloatTupleVector lateInput;
};

}  // namespace goal::fx
