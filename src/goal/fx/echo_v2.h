#pragma once

// The echo of the refined sound: the same delay line, taps and loop as EchoState, in which no change clicks
// and nothing runs away.
//
//     input ──>(+)──> one-pole low-pass ──> delay line ──┬── delay ──────────> a ──┐
//               ^                                        └── delay + lrDelay ─> b ─┤
//               └──── guard <──── feedback / 2 <────────── a + b ──────────────────┤
//                                                                                  │
//     left  <── gain <── (a + b) + spread * (a - b) <──────────────────────────────┤
//     right <── gain <── (a + b) - spread * (a - b) <──────────────────────────────┘
//
// Taps that move are faded, since a delay that slid would change the pitch; gains and the low-pass move
// smoothly. Made and run by the renderer on the server's thread.

#include <array>
#include <cstdint>

#include "goal/dsp/crossfade.h"
#include "goal/dsp/delayring.h"
#include "goal/dsp/smoothvalue.h"
#include "goal/fx/echoparameters.h"
#include "goal/fx/effectprocessorstate.h"
#include "goal/fx/loopguard.h"
#include "slib/realtime.h"

namespace goal::fx {

class EchoState_v2 : public EffectProcessorState {
public:
    /// All is at once as the parameters have it.
    EchoState_v2(const EchoParameters& parameters, const RenderContext& context);

    void process(const EffectProcessArgs& args) SLIB_NONBLOCKING override;

private:
    static constexpr std::uint32_t chunkFrames = 128;
    using Row = std::array<float, chunkFrames>;

    // Where the line is read, in frames before the sample last written.
    struct Taps {
        std::uint32_t first = 0, second = 0;
        bool operator==(const Taps&) const = default;
    };

    Taps TapsOf(const EchoParameters& parameters) const;
    double PoleOf(float damping) const;
    void Aim(const EchoParameters& parameters);
    std::uint32_t ReadTaps(std::uint32_t most);
    void ReadInto(Row& a, Row& b, const Taps& from, std::uint32_t count) const;
    void Run(std::uint32_t first, std::uint32_t count, const EffectProcessArgs& args);

    const float sampleRate;  // Hz
    Taps taps, before;       // `before` as long as the fade runs
    CrossfadeRun fade;
    SmoothValue feedback, spread, pole;
    float lastDamping;  // that the pole is aimed at
    double filterMemory = 0;
    LoopGuard guard;
    DelayRing<float> ring;
    Row tapA, tapB;  // of the current stretch
};

}  // namespace goal::fx
