#pragma once

// The way of the sound into the late part of the refined reverb: how long it waits, and how the wait is
// modulated.
//
//     input ──> ring ── at wait + depth·sine, between samples ──> the late part
//
// Part of the reverb. Run on the server's thread inside the block: only the constructor allocates.

#include <cstdint>

#include "goal/dsp/crossfade.h"
#include "goal/dsp/delayring.h"
#include "goal/dsp/oscillator.h"
#include "goal/fx/reverbparameters.h"
#include "numeric/floattuplevector.h"
#include "slib/realtime.h"

namespace goal::fx {

class LatePreDelay_v2 {
public:
    /// For blocks of at most `blockFrames` frames, at the rate in Hz. The course outlives the object. Throws
    /// slib::OutOfMemoryException.
    LatePreDelay_v2(float sampleRate, std::uint32_t blockFrames, const CrossfadeCourse& course);

    /// Sets `frames` samples of `output`. The wait is that of the reflections and the late part's own; a sine
    /// moves it by up to 25 ms to both sides, and where the wait is shorter than that it is made longer. What
    /// has changed fades over.
    void Run(const ReverbParametersBase& parameters, const float* input, std::uint32_t frames,
             float* output) SLIB_NONBLOCKING;

private:
    struct Wait {
        float base = 0;   // samples
        float depth = 0;  // samples to each side
        Phase step = 0;   // of the sine, a sample
        bool operator==(const Wait&) const = default;
    };

    Wait WaitFor(const ReverbParametersBase& parameters) const;
    void FillSines(std::uint32_t frames);
    void Read(const Wait& wait, std::uint32_t frames, float* output) const;

    const float sampleRate;
    const CrossfadeCourse& course;
    Crossfade<Wait> fade;
    Phase phase = 0;
    DelayRing<float> ring;
    hcml::FloatTupleVector sines;   // of the block
    hcml::FloatTupleVector fading;  // the output by the old wait
};

}  // namespace goal::fx
