#pragma once

// The late reverberation as a feedback delay network (Stautner and Puckette, 1982; Jot and Chaigne, 1991):
//
//     input ── sparse taps of each line's own ──(+)──┬──> one output for each line
//                                                ^   └── all-pass ── delay ── absorption ──┐
//                                                └───────────── orthogonal mix ────────────┘
//
// What comes first has not been through the loop, so its level and its colour are those of the input. The mix
// loses nothing by itself, whatever its angles: diffusion sets them, and some move slowly (Schlecht and
// Habets, 2015), so that no mode of the room stands still. All of the decay is in the absorption. Part of the
// reverb. Run on the server's thread inside the block: only the constructor allocates.

#include <array>
#include <cstdint>

#include "goal/dsp/crossfade.h"
#include "goal/dsp/oscillator.h"
#include "goal/dsp/slidingdelay.h"
#include "goal/fx/absorption.h"
#include "numeric/bus.h"
#include "numeric/floattuplevector.h"
#include "numeric/kernels/networkkernel.h"
#include "slib/realtime.h"

namespace goal::fx {

/// What a game asks of the late part.
struct LateRoom {
    RoomDecay decay;
    float density = 1;    ///< the size of the room, 0 to 1
    float diffusion = 1;  ///< 0 to 1
    bool operator==(const LateRoom&) const = default;
};

class LateNetwork {
public:
    static constexpr std::uint32_t maximumLines = hcml::maximumNetworkLines;

    const std::uint32_t lineCount;
    hcml::ac::Bus lines;  ///< the outputs of the last Run, all together of the energy of the input

    /// Sixteen lines with `isFull`, else eight. For blocks of at most `blockFrames` frames, at the rate in
    /// Hz. The course outlives the network. Throws slib::OutOfMemoryException.
    LateNetwork(float sampleRate, bool isFull, std::uint32_t blockFrames, const CrossfadeCourse& course);

    /// Sets `frames` samples of `lines`. What has changed in the room fades over from the old room.
    void Run(const LateRoom& room, const float* input, std::uint32_t frames) SLIB_NONBLOCKING;

private:
    static constexpr std::uint32_t pairs = maximumLines / 2;

    // What a room comes to.
    struct Plan {
        std::array<LineLengths, maximumLines> lengths{};
        std::uint32_t shortest = 1;              // of all of these
        std::array<float, maximumLines> left{};  // of a sound in the middle after the all-pass's delay
        std::array<std::array<std::uint32_t, hcml::networkTaps>, maximumLines> tapDelays{};  // samples
        std::array<std::array<float, hcml::networkTaps>, maximumLines> tapGains{};
        hcml::NetworkShelves absorption;
        bool hasLow = false;  // any low shelf
        float angle = 0;      // of the mix, radians
        float diffusion = 0;  // the coefficient of the all-passes
    };

    // Of an angle that moves: now, and in each frame.
    struct Chord {
        float cosine = 1, sine = 0, cosineStep = 0, sineStep = 0;
    };

    Plan MakePlan(const LateRoom& room) const;
    void SetDelays(const LateRoom& room, Plan& plan) const;
    void SetTaps(const LateRoom& room, Plan& plan) const;
    void Follow(const LateRoom& room);
    void Feed(const float* input, std::uint32_t frames);
    void SumTaps(const Plan& plan, std::uint32_t frames, hcml::ac::Bus& rows);
    std::uint32_t RunPart(std::uint32_t first, std::uint32_t most);
    std::uint32_t PartFrames(std::uint32_t most) const;
    const float* Past(const SlidingDelay& memory, std::uint32_t oldDelay, std::uint32_t delay,
                      std::uint32_t frames, float* scratch) const;
    void Absorb(std::uint32_t frames);
    void Mix(std::uint32_t first, std::uint32_t frames);
    hcml::NetworkShelves AbsorptionAt(float weight) const;
    float WeightAfter(std::uint32_t frames) const;
    float Moving(float Plan::*value, float weight) const;
    void MoveAngles(float angle, std::uint32_t frames, hcml::NetworkMix& mix);
    void FlushMemory();

    const float sampleRate;
    const CrossfadeCourse& course;
    Crossfade<LateRoom> fade;
    Plan from, to;  // of the rooms of `fade`
    std::array<SlidingDelay, maximumLines> delays, diffusers;
    std::array<Phase, pairs> phases{};  // of what moves the angles
    std::array<Chord, pairs> chords{};  // on which they move
    std::uint32_t chordFrames = 0;      // that are left of these
    std::uint32_t stretchFrame = 0;     // since the last of the moments in which chords end
    hcml::NetworkMemory memory;
    std::uint32_t history = 0;        // samples before the block in `fed`
    hcml::FloatTupleVector fed;       // the input, with what came before
    hcml::ac::Bus inputs, oldInputs;  // what the lines take of it; of the old room
    hcml::ac::Bus delayed, absorbed;  // of a part, as the next one
    hcml::ac::Bus diffused;
};

}  // namespace goal::fx
