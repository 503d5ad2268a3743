#pragma once

// Moves the weights of a path from block to block so that no change of theirs clicks: in a line over the
// block while they move, by a fade of 4 ms where they jump. Used by the refined renderer; allocates nothing.

#include <array>
#include <cstdint>

#include "goal/dsp/fadecourses.h"
#include "goal/render/mixbatch.h"
#include "goal/state/filterstate.h"
#include "numeric/bus.h"
#include "slib/realtime.h"

namespace goal {

/// What the weights do in a block: they go from `from` to those of the path along `course`, or stay where it
/// is null.
struct WeightMove {
    std::array<float, hcml::mostBusChannels> from;
    const float* course = nullptr;
};

class WeightMover {
public:
    /// For blocks of `blockFrames` at `sampleRate` Hz. Throws slib::OutOfMemoryException.
    WeightMover(double sampleRate, std::uint32_t blockFrames) : courses(sampleRate, blockFrames) {}

    /// Moves the first `count` weights of `path` on toward `targets`; weights that aren't valid are there at
    /// once. With `jumps`, or by a great change of weights that stood, a fade begins.
    WeightMove Move(PathWeights& path, const float* targets, std::uint32_t count,
                    bool jumps) const SLIB_NONBLOCKING;

    /// The same for the row of `batch`, whose samples times `scale` are at full scale 1; adds it to `bus`.
    void Add(PathWeights& path, const float* targets, bool jumps, float scale, MixBatch& batch,
             hcml::ac::Bus& bus) const SLIB_NONBLOCKING;

    const FadeCourses courses;

private:
    static bool IsJump(const PathWeights& path, const float* targets, std::uint32_t count);
    static bool IsSlow(const float* from, const float* to, const hcml::ac::Bus& bus);
};

/// Applies a gain to a row of whole groups of four: from `from` to `to` along `course`, or `to` where that is
/// null.
void ApplyAlong(float* row, float from, float to, const float* course,
                std::uint32_t vectors) SLIB_NONBLOCKING;

/// Lets a path whose weights aren't valid begin at zero, from where it fades in.
inline void BeginSilent(PathWeights& path) {
    path = PathWeights();
    path.coefficientsValid = true;
}

/// Whether the path was at gain 0 at the end of the last block.
inline bool IsAtZero(const PathWeights& path) {
    return path.coefficientsValid && path.coefficients[0] == 0 && !path.isFading;
}

}  // namespace goal
