#pragma once

// The way of the sound into the late part of the reverb: how long it waits, and how the wait is modulated.
//
//     input ──> lateInputRing ── at currentPreDelay + (triangle + 1)·currentModDepth ──> the late part
//
// Part of the reverb. Run on the server's thread inside the block: only the constructor allocates.

#include <cstdint>

#include "goal/dsp/delayring.h"
#include "goal/fx/reverbparameters.h"
#include "slib/realtime.h"

namespace goal::fx {

class LatePreDelay {
public:
    /// `networkDelay` in seconds is what the late part itself takes until it is heard, and is taken off the
    /// wait. For blocks of at most `blockFrames` frames, at the rate in Hz. Throws
    /// slib::OutOfMemoryException.
    LatePreDelay(float sampleRate, double networkDelay, std::uint32_t blockFrames);

    /// Sets `frames` samples of `output`. A wait that has changed moves by a sample in four, a depth by a
    /// sample in one.
    void Run(const ReverbParametersBase& parameters, const float* input, std::uint32_t frames,
             float* output) SLIB_NONBLOCKING;

private:
    void RunMoving(std::int32_t base, std::int32_t depth, float phaseStep, std::uint32_t frames,
                   float* output);

    const float sampleRate;
    const double networkDelay;
    DelayRing<float> lateInputRing;
    std::int32_t currentPreDelay = -1;  // samples; -1 until the first block
    std::int32_t currentModDepth = -1;  // samples to each side
    float modulationPhase = 0;          // radians
};

}  // namespace goal::fx
