#pragma once

// The echo that may repeat inside the late part of the reverb:
//
//     x ──(+)──┬──> y
//          └ f ┴─ echoRing, currentEchoDelay + 1 samples
//
// Part of the reverb. Run on the server's thread inside the block: only the constructor allocates.

#include <cstdint>

#include "goal/dsp/delayring.h"
#include "goal/fx/reverbparameters.h"
#include "slib/realtime.h"

namespace goal::fx {

class ReverbEcho {
public:
    /// For the rate in Hz. Throws slib::OutOfMemoryException.
    explicit ReverbEcho(float sampleRate);

    /// Adds the echoes of `frames` samples in place. Each is the earlier times f, which gives the echoes the
    /// decay time of the room, less what diffusion takes. A time that has changed moves by a sample in four.
    void Run(const ReverbParametersBase& parameters, float* samples, std::uint32_t frames) SLIB_NONBLOCKING;

private:
    std::uint32_t RunSteps(std::int32_t target, std::uint32_t frame, std::uint32_t count);

    const float sampleRate;
    DelayRing<float> echoRing;
    std::int32_t currentEchoDelay = -1;  // samples; -1 until the first block
    float factor = 0;                    // f at the end of the last block
};

}  // namespace goal::fx
