#pragma once

// How an effect gets from old to new settings without a click: it renders both for 10 ms and fades from one
// to the other in half a turn of a cosine. A change that comes in the meantime waits until that is over.
// Owned by an effect, on the server's thread; only the constructor of the course allocates.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>

#include "numeric/floattuplevector.h"
#include "slib/realtime.h"

namespace goal {

/// The weight of the new settings in each frame of a fade.
class CrossfadeCourse {
public:
    const std::uint32_t frames;  ///< of the fade

    /// For blocks of at most `blockFrames` at the rate in Hz. Throws slib::OutOfMemoryException.
    CrossfadeCourse(float sampleRate, std::uint32_t blockFrames)
        : frames(static_cast<std::uint32_t>(0.01F * sampleRate) + 1), weights(frames + blockFrames + 3) {
        for (std::uint32_t i = 0; i < weights.size; ++i)
            weights.data[i] = static_cast<float>(WeightAt(i));
    }

    /// From `position` in a fade on; 1 after its end. As many as a block has, in whole groups of four.
    const float* From(std::uint32_t position) const { return weights.data + position; }

private:
    double WeightAt(std::uint32_t i) const {
        const double part = std::min((i + 1.0) / frames, 1.0);
        return 0.5 - 0.5 * std::cos(std::numbers::pi * part);
    }

    hcml::FloatTupleVector weights;
};

/// Settings on their way. T is a plain record that can be compared.
template <typename T>
class Crossfade {
public:
    T from;  ///< the old settings while it fades, else the same as `to`
    T to;
    std::uint32_t position = 0;  ///< frames of the fade that are over
    bool isFading = false;

    /// Before each block: takes the new settings, unless others are still on their way. The first ones are
    /// there at once. Whether it has taken any.
    bool Follow(const T& target) {
        if (started && (isFading || target == to)) return false;
        to = target;
        if (!started) from = target;
        isFading = started;
        position = 0;
        return started = true;
    }

    /// After each part of a block.
    void Advance(std::uint32_t frames, const CrossfadeCourse& course) {
        if (!isFading) return;
        position += frames;
        if (position < course.frames) return;
        from = to;
        isFading = false;
    }

private:
    bool started = false;
};

/// Fades `samples`, of the new settings, from `old`. The rows don't overlap.
inline void Blend(const float* __restrict weights, const float* __restrict old, float* __restrict samples,
                  std::uint32_t count) {
    for (std::uint32_t i = 0; i < count; ++i)
        samples[i] = old[i] + weights[i] * (samples[i] - old[i]);
}

/// A fade of an effect that keeps old and new settings by itself.
class CrossfadeRun {
public:
    /// At its end; at the rate in Hz. Throws slib::OutOfMemoryException.
    explicit CrossfadeRun(double sampleRate)
        : course(static_cast<float>(sampleRate), 0), position(course.frames) {}

    void Start() { position = 0; }
    bool IsRunning() const { return position < course.frames; }
    /// Frames to its end.
    std::uint32_t Left() const { return course.frames - position; }
    void Advance(std::uint32_t frames) { position += frames; }

    /// Fades the next `count` samples, up to Left(), from `old`. The rows don't overlap.
    void Blend(const float* old, float* samples, std::uint32_t count) const SLIB_NONBLOCKING {
        goal::Blend(course.From(position), old, samples, count);
    }

private:
    const CrossfadeCourse course;
    std::uint32_t position;
};

}  // namespace goal
