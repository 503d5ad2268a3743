#pragma once

// The late reverberation: comb lines side by side, as in Schroeder's reverb (1962), each a delay line in a
// loop with two shelves.
//
//     input ── feedback^(tap/length) ──(+)── shelves ── ring ──┬─ outputTap ──> one or two of four outputs
//                                       └───── feedback ───────┘ delay
//
// Density turns the lines on one by one; at least two are on. Part of the reverb. Run on the server's thread
// inside the block: only the constructor allocates.

#include <array>
#include <cstdint>

#include "goal/dsp/delayring.h"
#include "goal/fx/combloop.h"
#include "numeric/bus.h"
#include "numeric/floattuplevector.h"
#include "numeric/kernels/comblinekernel.h"
#include "slib/realtime.h"

namespace goal::fx {

class CombLines {
public:
    static constexpr std::uint32_t outputCount = 4;
    static constexpr std::uint32_t maximumLines = 10;

    const std::uint32_t lineCount;

    /// Ten lines with `fullLate`, else four. For blocks of at most `blockFrames` frames, at the rate in Hz.
    /// Throws slib::OutOfMemoryException.
    CombLines(float sampleRate, bool fullLate, std::uint32_t blockFrames);

    /// Takes what the lines are to do from the next Run on: `activeLines` from 2 to lineCount, the last of
    /// them weighted by the root of its fraction. The first block does so at once; later what has changed
    /// moves within the first 2 ms of a block.
    void Set(const CombDecay& decay, float activeLines, const FilterGainTables& tables);

    /// The tables were exchanged: the next Set computes everything again.
    void ForgetTables() { wasSet = false; }

    /// Sets `frames` samples of the four outputs.
    void Run(const float* input, std::uint32_t frames, float* const* outputs) SLIB_NONBLOCKING;

private:
    struct CombLine {
        DelayRing<float> ring;
        std::uint32_t delay = 0;      // the loop's length less 1, in samples
        std::uint32_t outputTap = 0;  // samples
        float inputExponent = 0;      // the tap over the length, less 1
        float inputGain = 1;
        float level = 0;         // of what is heard: 1, or 0 for a line that is off
        float currentLevel = 0;  // that of the last block
    };

    void MakeLine(std::uint32_t line, std::uint32_t blockFrames);
    void SetLine(std::uint32_t line, const CombLoop& loop);
    void RunLoops(const float* input, std::uint32_t frames, std::uint32_t glideFrames);
    std::uint32_t PrepareRun(hcml::CombRun& run, const float* input, std::uint32_t frames);
    void FlushMemory();
    const float* ReadLine(std::uint32_t line, std::uint32_t frames, std::uint32_t glideFrames);
    void Mix(const float* const* rows, std::uint32_t frames, float* const* outputs) const;

    const float sampleRate;
    std::array<CombLine, maximumLines> lines;
    hcml::CombCoefficients current, target;
    hcml::CombMemory memory;
    CombDecay lastDecay;
    float lastActiveLines = 0;
    bool wasSet = false;            // `target` is what lastDecay and lastActiveLines come to
    bool started = false;           // a block has run
    bool moving = false;            // `current` isn't `target` yet
    hcml::FloatTupleVector unused;  // for the lanes without a line
    hcml::ac::Bus lineOutputs;
};

}  // namespace goal::fx
