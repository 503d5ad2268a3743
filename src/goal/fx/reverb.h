#pragma once

// The reverb of the classic sound, basic and full:
//
//     input ─┬─ EarlyReflections ────────────────────────────────────────(+)── filter ──> W X Y Z
//            └─ LatePreDelay ── ReverbEcho ── 4 all-passes ── CombLines    │
//                        ┌──────────────── 4 outputs ───────────┘         │
//                        └─ an all-pass for each ── late mix ─────────────┘
//
// Parallel combs and all-passes in series are Schroeder's (1962), the taps of early reflections Moorer's
// (1979), the loops that decay by frequency Jot's and Chaigne's (1991). The field is of first order: the late
// part comes from the four directions of a tetrahedron that is fixed in the world, however the head turns.
// Made and run on the server's thread; only the constructor allocates.

#include <array>
#include <cstdint>

#include "goal/dsp/allpassfilter.h"
#include "goal/dsp/filterstage.h"
#include "goal/fx/comblines.h"
#include "goal/fx/earlyreflections.h"
#include "goal/fx/effectprocessorstate.h"
#include "goal/fx/latepredelay.h"
#include "goal/fx/reverbecho.h"
#include "goal/fx/reverbparameters.h"
#include "numeric/bus.h"
#include "numeric/floattuplevector.h"
#include "slib/realtime.h"

namespace goal::fx {

/// What every version of the reverb reads from the scene at the start of each block.
class ReverbState : public EffectProcessorState {
public:
    float speedOfSound = 343.3F;  ///< the scene's units per second
    float metresPerUnit = 1;

protected:
    using EffectProcessorState::EffectProcessorState;
};

class ReverbState_v2 : public ReverbState {
public:
    /// The settings say whether early reflections have directions, and then the input has four channels, and
    /// whether ten or four comb lines run. Throws slib::OutOfMemoryException.
    ReverbState_v2(const ReverbParameters& parameters, const RenderContext& context);

    void process(const EffectProcessArgs& args) SLIB_NONBLOCKING override;

private:
    static constexpr std::uint32_t sides = CombLines::outputCount;

    /// Linear gains of the comb network's outputs in W, X, Y, Z.
    using LateGains = std::array<std::array<float, 4>, sides>;

    void Begin(const EffectProcessArgs& args);
    void FollowReferences();
    void FollowAmounts();
    void Diffuse();
    void RunCombs();
    CombDecay Decay() const;
    double HighTimeLimit() const;
    LateGains LateGainsNow() const;
    void MixLate();
    void FadeLate(const LateGains& from, const LateGains& to, std::uint32_t count);
    // Both say whether the output is silent.
    [[nodiscard]] bool Filter(float slotGain);
    [[nodiscard]] bool FilterAnew(const FilterStageSettings& settings);
    void AddFiltered(const EffectProcessArgs& args);

    const float sampleRate;  // Hz
    const bool fullLate;
    const float densityRiseStep;  // per block, as is diffusionStep
    const float densityFallStep;
    const float diffusionStep;
    const Basis& listenerBasis;
    ReverbParametersBase parameters;  // of the current block
    std::uint32_t frames = 0;         // of that block
    std::uint32_t glideFrames = 0;    // of these those in which what has changed moves
    FilterGainTables filterTables;
    FilterGainTables previousTables;  // of the last block, while `referencesMoved`
    bool referencesMoved = false;     // in the current block
    FilterParameters outputFilter;
    SourceFilterState outputFilterState;
    EarlyReflections earlyReflections;
    LatePreDelay preDelay;
    ReverbEcho echo;
    std::array<AllPassFilter, 4> earlyDiffusers;
    CombLines combLines;
    std::array<AllPassFilter, sides> lateDiffusers;
    float currentDiffusion = -1;  // -1 until the first block, as currentDensity
    float currentDensity = -1;
    float activeLines = 0;
    LateGains lateGains{};  // at the end of the last block
    bool lateStarted = false;
    hcml::FloatTupleVector lateInput;
    hcml::ac::Bus lineOutputs;
    hcml::ac::Bus output;
    hcml::ac::Bus fading;  // the output by previousTables
};

}  // namespace goal::fx
