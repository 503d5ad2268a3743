#pragma once

// Keeps the output at 0.9 and below without exception: the gain is on its way down before the level goes up,
// as far ahead as the block shows, in the least steep lines that stay below what each place allows. It stays
// down for a period of the lowest bass, so that a wave isn't bent within its period, and then rises slowly.
//
//     gain   ───╲                    a taut string below what
//                ╲_____      ___     the peaks of the steps allow
//                      ╲____╱
//     level  ▁▁▁▁▂▂▅▅▅▅▅▇▇▇▇▅▅▁▁

#include <array>
#include <cstdint>

#include "orb3core/decoder/blocklimiter.h"

namespace orb3 {

/// Owned by one thread.
class Limiter_v2 : public BlockLimiter {
public:
    /// For a rate in Hz, above 0.
    explicit Limiter_v2(double sampleRate);

    /// Where a block begins above the level the gain is lower from its first frame on.
    float limit(float* block, std::uint32_t frames, std::uint32_t channels) SLIB_NONBLOCKING override;
    float Gain() const override { return gain; }

private:
    static constexpr std::uint32_t mostSteps = 128;  // in a block
    using PerStep = std::array<float, mostSteps + 1>;

    std::uint32_t FindPeaks(const float* block, std::uint32_t frames, std::uint32_t channels);
    void HoldPeaks(std::uint32_t steps, std::uint32_t frames);
    void DrawGains(std::uint32_t steps);
    void Apply(float* block, std::uint32_t frames, std::uint32_t channels, std::uint32_t steps) const;

    const double sampleRate;         // Hz
    const std::uint32_t holdFrames;  // a peak counts for that long, and twice that at most
    float gain = 1;                  // linear, at the end of the block before
    float current = 0;               // greatest peak of the last while,
    float before = 0;                // and of the one before that
    std::uint32_t held = 0;          // frames that `current` is of

    // Of the block.
    std::uint32_t stepFrames = 1;
    PerStep peaks;    // of each step
    PerStep longest;  // gain that the held peaks allow in each step
    PerStep gains;    // at the beginning of each step, and at the end of the last one
};

}  // namespace orb3
