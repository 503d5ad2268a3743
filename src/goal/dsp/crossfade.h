#pragma once

// A fade from one signal to another in half a turn of a cosine over 10 ms: long enough that nothing of it is
// heard as a click. Owned by one effect, on the server's thread; only the constructor allocates.

#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

#include "slib/realtime.h"

namespace goal {

class CrossFade {
public:
    /// At its end. Throws std::bad_alloc.
    explicit CrossFade(double sampleRate)
        : weights(static_cast<std::size_t>(sampleRate * 0.01) + 1),
          position(static_cast<std::uint32_t>(weights.size())) {
        const double step = std::numbers::pi / static_cast<double>(weights.size());
        for (std::size_t i = 0; i < weights.size(); ++i)
            weights[i] = static_cast<float>(0.5 - 0.5 * std::cos(step * (static_cast<double>(i) + 0.5)));
    }

    void Start() { position = 0; }
    bool IsRunning() const { return position < weights.size(); }
    /// Frames to its end.
    std::uint32_t Left() const { return static_cast<std::uint32_t>(weights.size()) - position; }
    void Advance(std::uint32_t frames) { position += frames; }

    /// Fades the first `count` samples from `old` to what they are; `count` up to Left(). The rows don't
    /// overlap.
    void Blend(const float* __restrict old, float* __restrict samples,
               std::uint32_t count) const SLIB_NONBLOCKING {
        for (std::uint32_t i = 0; i < count; ++i)
            samples[i] = old[i] + (samples[i] - old[i]) * weights[position + i];
    }

private:
    std::vector<float> weights;
    std::uint32_t position;
};

}  // namespace goal
