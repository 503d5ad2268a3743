#pragma once

// How a value that a game has changed gets from the old to the new one: in a straight line over the first
// frames of a block, so that no jump clicks. Called by the effects on the server's thread.

#include <algorithm>
#include <cstdint>

namespace goal {

/// The frames of a block in which values move: 2 ms, or as many as the block has.
inline std::uint32_t GlideFrames(float sampleRate, std::uint32_t blockFrames) {
    return std::min(blockFrames, static_cast<std::uint32_t>(sampleRate * 0.002F));
}

/// Fades the first `count` samples from `old` to what they are. The rows don't overlap.
inline void FadeFrom(const float* __restrict old, float* __restrict samples, std::uint32_t count) {
    const auto whole = static_cast<float>(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        const float t = static_cast<float>(static_cast<std::int32_t>(i)) / whole;
        samples[i] = old[i] * (1 - t) + samples[i] * t;
    }
}

/// The course of one value in a block.
struct BlockGlide {
    float from = 0;
    float to = 0;
    std::uint32_t frames = 0;  ///< until it has arrived; 0: it is there

    BlockGlide() = default;
    BlockGlide(float from, float to, std::uint32_t glideFrames)
        : from(from), to(to), frames(from == to ? 0 : glideFrames) {}

    /// The most frames from `frame` on, of `count`, in which the value moves evenly or not at all.
    std::uint32_t EvenFrames(std::uint32_t frame, std::uint32_t count) const {
        return frame < frames ? std::min(count, frames - frame) : count;
    }

    float At(std::uint32_t frame) const {
        return frame < frames ? from + Step() * static_cast<float>(frame) : to;
    }

    /// From `frame` to the next one.
    float StepAt(std::uint32_t frame) const { return frame < frames ? Step() : 0; }

private:
    float Step() const { return (to - from) / static_cast<float>(frames); }
};

}  // namespace goal
