#pragma once

// The running chorus or flanger: one delay line that a low-frequency wave reads at two moving places.
//
//     input ──>(+)──> delay line ──┬── delay * (1 + depth * wave(t))         ──┬──> gain ──> left
//               ^                  └── delay * (1 + depth * wave(t + phase)) ──│─┬─> gain ──> right
//               └──────────── feedback / 2 <──────────(+)<───────────────────────┘
//
// The modulated delay line with feedback and linear interpolation of J. Dattorro, "Effect Design, Part 2:
// Delay-Line Modulation and Chorus" (Journal of the AES, 1997), with two taps instead of one. Chorus and
// flanger differ in their ranges only. Made and run by the renderer on the server's thread.

#include <array>
#include <cstdint>

#include "goal/dsp/delayring.h"
#include "goal/dsp/oscillator.h"
#include "goal/fx/effectprocessorstate.h"
#include "goal/fx/modulateddelayparameters.h"
#include "slib/realtime.h"

namespace goal::fx {

class ModulatedDelayState : public EffectProcessorState {
public:
    /// Delay and depth start at those of the parameters, with no glide.
    ModulatedDelayState(const ModulatedDelayParameters& parameters, const RenderContext& context);

    void process(const EffectProcessArgs& args) SLIB_NONBLOCKING override;

private:
    static constexpr std::uint32_t chunkFrames = 128;

    // Where a tap reads, in frames before the sample last written.
    struct Tap {
        std::array<std::uint32_t, chunkFrames> frames;
        std::array<float, chunkFrames> fraction;
    };

    void Sweep(Tap& tap, std::uint32_t count, const ModulatedDelayParameters& parameters, double ahead) const;
    void Glide(std::uint32_t count);
    void Run(std::uint32_t first, std::uint32_t count, const EffectProcessArgs& args,
             float feedback) SLIB_NONBLOCKING;
    float Read(const Tap& tap, std::uint32_t i) const;

    const float sampleRate;  // Hz
    const float delayStep = 20000;
    float delayTarget, delayCurrent;  // frames; moves by delayStep a frame
    const float depthStep;
    float depthTarget, depthCurrent;  // fraction of the delay; moves by depthStep a frame, 10 ms for all
    DelayRing<float> ring;
    Oscillator lfoPhase;
    std::uint64_t phaseStep = 0;  // of the current block
    Tap left, right;              // of the current chunk
};

}  // namespace goal::fx
