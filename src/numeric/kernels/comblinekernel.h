#pragma once

// The loops of a reverb's comb lines, run side by side in the lanes of vectors: the two recursions of one
// alone wait out two products and two sums in every frame. Called on the audio thread by the reverb. Nothing
// is allocated, and every vector target gives the same bits.
//
//     past ── feed ──(+)── s ──> y1 = hfA·s + hfB·y1 ──> t = direct·s + smooth·y1
//                     ^                                  y2 = lfA·t + lfB·y2 ──> w = t + low·y2 ──> ahead
//            x ── input

#include <cstdint>

#include "slib/realtime.h"

namespace hcml {

/// One value for each line.
inline constexpr std::uint32_t maximumCombLines = 16;
using CombLanes = float[maximumCombLines];

/// What a line does in its loop, all linear factors.
struct CombCoefficients {
    CombLanes feed{};    ///< of the feedback
    CombLanes input{};   ///< of the network's input
    CombLanes hfA{};     ///< of the first low-pass, which makes the shelf of the high frequencies
    CombLanes hfB{};     ///< of its output before
    CombLanes direct{};  ///< of what goes past it
    CombLanes smooth{};  ///< of what it lets through
    CombLanes lfA{};     ///< of the second low-pass, which makes the shelf of the low frequencies
    CombLanes lfB{};     ///< of its output before
    CombLanes low{};     ///< of what it lets through, added to what goes past it
};

/// The outputs of the two low-passes in the frame before.
struct CombMemory {
    CombLanes y1{};
    CombLanes y2{};
};

/// A run of frames. `past` are the samples that leave the delay lines, `ahead` are the places where the
/// samples that enter them go; both are the caller's rows of `frames` floats, and none that is written
/// overlaps another. Rows are read four frames ahead of what is written. All 16 of them are valid; those of
/// unused lines may be any scratch memory.
struct CombRun {
    const float* input = nullptr;  ///< samples x of all lines
    const float* past[maximumCombLines] = {};
    float* ahead[maximumCombLines] = {};
    std::uint32_t frames = 0;
};

/// Runs `lineCount` lines, at most 16, as the sketch says: each product and each sum is rounded, in the order
/// written there. What goes ahead is (w + 5e-8) - 5e-8, which is never denormal; the memory isn't kept from
/// that. Lines after `lineCount` may be computed too.
void RunCombLines(const CombRun& run, std::uint32_t lineCount, const CombCoefficients& coefficients,
                  CombMemory& memory) SLIB_NONBLOCKING;

/// The same with coefficients that move: each grows by its `steps` after every frame.
void RunMovingCombLines(const CombRun& run, std::uint32_t lineCount, CombCoefficients& coefficients,
                        const CombCoefficients& steps, CombMemory& memory) SLIB_NONBLOCKING;

}  // namespace hcml
