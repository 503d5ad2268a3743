#pragma once

// The chorus and the flanger of the refined sound: the same delay line and taps as ModulatedDelayState, in
// which no change clicks and nothing runs away.
//
//     input ──>(+)──> delay line ──┬── delay * (1 + depth * wave(t))         ──┬──> gain ──> left
//               ^                  └── delay * (1 + depth * wave(t + phase)) ──│─┬─> gain ──> right
//               └── guard <── feedback / 2 <──────────(+)<─────────────────────┘
//
// Delay, depth and phase glide, as the motor of a tape would take them there, and the waves are faded. Made
// and run by the renderer on the server's thread.

#include <array>
#include <cstdint>

#include "goal/dsp/delayring.h"
#include "goal/dsp/oscillator.h"
#include "goal/dsp/smoothvalue.h"
#include "goal/fx/effectprocessorstate.h"
#include "goal/fx/loopguard.h"
#include "goal/fx/modulateddelayparameters.h"
#include "slib/realtime.h"

namespace goal::fx {

class ModulatedDelayState_v2 : public EffectProcessorState {
public:
    /// All is at once as the parameters have it.
    ModulatedDelayState_v2(const ModulatedDelayParameters& parameters, const RenderContext& context);

    void process(const EffectProcessArgs& args) SLIB_NONBLOCKING override;

private:
    static constexpr std::uint32_t chunkFrames = 128;
    using Row = std::array<float, chunkFrames>;

    // Where a tap reads, in frames before the sample last written.
    struct Tap {
        std::array<std::uint32_t, chunkFrames> frames;
        Row fraction;
    };

    void Aim(const ModulatedDelayParameters& parameters);
    void Fill(std::uint32_t count);
    void Sweep(Tap& tap, std::uint32_t count, const float* ahead) const;
    void FillWave(Row& wave, std::uint32_t count, const float* ahead) const;
    void Run(std::uint32_t first, std::uint32_t count, const EffectProcessArgs& args) SLIB_NONBLOCKING;
    float Read(const Tap& tap, std::uint32_t i) const;

    const float sampleRate;  // Hz
    SmoothValue delay;       // frames
    SmoothValue depth;       // fraction of the delay
    SmoothValue phase;       // turns from the left side's wave to the right side's
    SmoothValue sine;        // share of the sine in the wave, beside the triangle
    SmoothValue feedback;
    LoopGuard guard;
    DelayRing<float> ring;
    Oscillator lfoPhase;
    std::uint64_t phaseStep = 0;                       // of the current block
    Row delays, depths, phases, sines, feedbackGains;  // of the current chunk
    Tap left, right;
};

}  // namespace goal::fx
