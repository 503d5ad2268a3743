#pragma once

// The loops of a feedback delay network (Jot and Chaigne, 1991) over rows of samples, one row for each line:
// what is fed into the lines, and the orthogonal mix of what comes out of them. Called on the audio thread by
// the reverb. Nothing is allocated, and every vector target gives the same bits.

#include <cstdint>

#include "slib/realtime.h"

namespace hcml {

inline constexpr std::uint32_t maximumNetworkLines = 16;
inline constexpr std::uint32_t networkTaps = 4;  ///< of each line's input

/// What each line takes of one signal: line k the sum over t of gains[k][t] * taps[k][t][i], summed in the
/// order of t.
struct NetworkInput {
    const float* taps[maximumNetworkLines][networkTaps] = {};  ///< where the delayed signal begins
    float gains[maximumNetworkLines][networkTaps] = {};        ///< linear
};

/// Sets `frames` samples of each of the first `lineCount` rows. They overlap none of the taps.
void SumNetworkTaps(const NetworkInput& input, float* const* rows, std::uint32_t lineCount,
                    std::uint32_t frames) SLIB_NONBLOCKING;

/// One value for each line.
using NetworkLanes = float[maximumNetworkLines];

/// Two sections of the second order in each line, one after the other. The first, for high frequencies, is in
/// the transposed direct form:
///
///     y = n0·x + z1,  z1' = n1·x + z2 - d1·y,  z2' = n2·x - d2·y
///
/// The second is made of two integrators (Zavalishin, 2012), which keep the lowest frequencies apart in
/// floats:
///
///     e = y - i2,  band = a1·i1 + a2·e,  low = i2 + (a2·i1 + a3·e),  i1' = 2·band - i1,  i2' = 2·low - i2
///     out = y + (bandGain·band + lowGain·low)
struct NetworkShelves {
    NetworkLanes n0{}, n1{}, n2{}, d1{}, d2{};
    NetworkLanes a1{}, a2{}, a3{}, bandGain{}, lowGain{};
};

/// What the sections remember.
struct NetworkMemory {
    NetworkLanes z1{}, z2{}, i1{}, i2{};
};

/// Rows through the sections. All 16 rows are valid, those of unused lines may be any scratch memory. None
/// that is written overlaps another. They are read four frames ahead of what is written.
struct NetworkAbsorption {
    const float* past[maximumNetworkLines] = {};
    float* ahead[maximumNetworkLines] = {};
    std::uint32_t frames = 0;
};

/// Runs `lineCount` lines, at most 16; those after may be computed too. Without `hasLow` the second section
/// is left out, and its memory stays. What goes ahead is (out + 5e-8) - 5e-8, which is never denormal; the
/// memory isn't kept from that.
void RunNetworkAbsorption(const NetworkAbsorption& run, std::uint32_t lineCount,
                          const NetworkShelves& shelves, bool hasLow, NetworkMemory& memory) SLIB_NONBLOCKING;

/// The same with coefficients that move: each is the one before and its `steps` after every frame.
void RunMovingNetworkAbsorption(const NetworkAbsorption& run, std::uint32_t lineCount,
                                const NetworkShelves& shelves, const NetworkShelves& steps, bool hasLow,
                                NetworkMemory& memory) SLIB_NONBLOCKING;

/// The orthogonal mix of 8 or 16 rows, as one turn after another of pairs of rows, and what is added after
/// it:
///
///     a' = cosine·a + sine·b,  b' = cosine·b - sine·a      neighbours, each pair by an angle that moves
///     a' = a + tangent·b,      b' = b - tangent·a          rows 2, 4 (and 8) apart, all by one angle
///
/// The second form grows by 1/cosine each time, which the caller takes off before. With all angles an eighth
/// of a circle this is a Hadamard matrix but for signs. Each sum goes to an output, and through an all-pass
/// of Schroeder's (1961) with a delay line of its own into the line:
///
///     v = sum + diffusion·d,  out = d - diffusion·v        d is the v of some time ago, times what is left
struct NetworkMix {
    const float* past[maximumNetworkLines] = {};      ///< to be mixed
    const float* input[maximumNetworkLines] = {};     ///< added after it
    const float* diffused[maximumNetworkLines] = {};  ///< the v of some time ago
    float* outputs[maximumNetworkLines] = {};         ///< where the sums go
    float* diffusing[maximumNetworkLines] = {};       ///< where v goes
    float* ahead[maximumNetworkLines] = {};           ///< where the results go
    float cosines[maximumNetworkLines / 2] = {};      ///< of the pairs (0, 1), (2, 3) ... in the first frame
    float sines[maximumNetworkLines / 2] = {};
    float cosineSteps[maximumNetworkLines / 2] = {};  ///< from frame to frame
    float sineSteps[maximumNetworkLines / 2] = {};
    float tangent = 1;  ///< in the first frame
    float tangentStep = 0;
    float diffusion = 0;  ///< in the first frame, of size below 1
    float diffusionStep = 0;
    float left[maximumNetworkLines] = {};  ///< in the first frame
    float leftSteps[maximumNetworkLines] = {};
    std::uint32_t frames = 0;
};

/// Runs the mix of `lineCount` rows, 8 or 16. No row that is written overlaps another. What is kept as v is
/// (v + 5e-8) - 5e-8, which is never denormal.
void RunNetworkMix(const NetworkMix& mix, std::uint32_t lineCount) SLIB_NONBLOCKING;

}  // namespace hcml
