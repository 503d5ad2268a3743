#pragma once

// The echo that may repeat inside the late part of the refined reverb:
//
//     x ──(+)──┬──> y
//          └ f ┴─ ring
//
// Part of the reverb. Run on the server's thread inside the block: only the constructor allocates.

#include <cstdint>

#include "goal/dsp/crossfade.h"
#include "goal/dsp/delayring.h"
#include "goal/fx/reverbparameters.h"
#include "numeric/floattuplevector.h"
#include "slib/realtime.h"

namespace goal::fx {

class ReverbEcho_v2 {
public:
    /// For blocks of at most `blockFrames` frames, at the rate in Hz. The course outlives the object. Throws
    /// slib::OutOfMemoryException.
    ReverbEcho_v2(float sampleRate, std::uint32_t blockFrames, const CrossfadeCourse& course);

    /// Adds the echoes of `frames` samples in place. Each is the earlier times f, which gives the echoes the
    /// decay time of the room, less what diffusion takes. With them or without, a sound has the same energy.
    /// What has changed fades over.
    void Run(const ReverbParametersBase& parameters, float* samples, std::uint32_t frames) SLIB_NONBLOCKING;

private:
    struct Repeat {
        std::uint32_t delay = 1;  // samples
        float factor = 0;         // f
        float level = 1;          // of x, which makes up for the echoes' energy
        bool operator==(const Repeat&) const = default;
    };

    Repeat RepeatFor(const ReverbParametersBase& parameters) const;
    void Repeated(const Repeat& repeat, const float* samples, std::uint32_t count, float* sum) const;

    const float sampleRate;
    const CrossfadeCourse& course;
    Crossfade<Repeat> fade;
    DelayRing<float> ring;
    hcml::FloatTupleVector sums, oldSums;  // of a part of a block
};

}  // namespace goal::fx
