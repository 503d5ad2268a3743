#pragma once

// How loud each output is, for those who watch at a pace of their own: a peak that falls slowly, and a mean
// over the last third of a second. On the thread that decodes; allocates nothing once it is made.

#include <cstdint>
#include <vector>

#include "slib/realtime.h"

namespace orb3 {

/// Linear, 1 at full scale.
struct OutputLevel {
    float peak = 0;        ///< falls by 20 dB a second
    float meanSquare = 0;  ///< with a time constant of 0.3 s
};

class LevelMeter {
public:
    /// For blocks of `frames`, above 0, of `channels` at `sampleRate` Hz. Throws std::bad_alloc.
    LevelMeter(double sampleRate, std::uint32_t frames, std::uint32_t channels);

    /// Takes a block of interleaved samples, all finite.
    void Note(const float* block) SLIB_NONBLOCKING;

    std::vector<OutputLevel> levels;  ///< by channel

private:
    const std::uint32_t frames;
    const std::uint32_t channels;
    const float peakFactor;  // in a block
    const float meanStep;    // the same
    // Of a few frames at a time, each sample for itself.
    std::vector<float> peaks, squares;
};

}  // namespace orb3
