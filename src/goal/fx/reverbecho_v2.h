#pragma once

// The echo that may repeat inside the late part of the refined reverb:
//
//     x ── level ──(+)────┬──> y
//        absorption, factor ┴─ ring
//
// Part of the reverb. Run on the server's thread inside the block: only the constructor allocates.

#include <array>
#include <cstdint>

#include "goal/dsp/biquad.h"
#include "goal/dsp/crossfade.h"
#include "goal/dsp/delayring.h"
#include "goal/fx/absorption.h"
#include "numeric/floattuplevector.h"
#include "slib/realtime.h"

namespace goal::fx {

/// What a game asks of the echo.
struct RoomEcho {
    float time = 0.25F;  ///< seconds, up to 0.25
    float depth = 0;     ///< 0 to 1
    float diffusion = 1;
    RoomDecay decay{};
    bool operator==(const RoomEcho&) const = default;

    /// How much of a sound comes back, beside what a sound in the room loses in that time.
    double Share() const { return depth * (1 - 0.5 * diffusion); }
};

/// The decay times that a room needs so that with those echoes it has the times that were asked for: each
/// echo begins a decay of its own, and until there are as many as die away, what is heard falls more slowly.
RoomDecay DecayWithEchoes(const RoomEcho& echo);

class ReverbEcho_v2 {
public:
    /// For blocks of at most `blockFrames` frames, at the rate in Hz. The course outlives the object. Throws
    /// slib::OutOfMemoryException.
    ReverbEcho_v2(float sampleRate, std::uint32_t blockFrames, const CrossfadeCourse& course);

    /// Adds the echoes of `frames` samples in place. Each is the share of the earlier one, and loses what a
    /// sound in the room does at every frequency. With them or without, a sound has the same energy. What has
    /// changed fades over.
    void Run(const RoomEcho& echo, float* samples, std::uint32_t frames) SLIB_NONBLOCKING;

private:
    struct Repeat {
        std::uint32_t delay = 1;  // samples
        float factor = 0;
        float level = 1;
        std::array<Biquad, 4> absorption;
        std::uint32_t sectionCount = 0;
    };

    Repeat RepeatFor(const RoomEcho& echo) const;
    void Sum(Repeat& repeat, const float* samples, std::uint32_t count, float* sum) const;

    const float sampleRate;
    const CrossfadeCourse& course;
    Crossfade<RoomEcho> fade;
    Repeat now, old;
    DelayRing<float> ring;
    hcml::FloatTupleVector sums, oldSums;  // of a part of a block
};

}  // namespace goal::fx
