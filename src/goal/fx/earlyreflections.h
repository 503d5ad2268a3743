#pragma once

// The first echoes of a room: three taps of a delay line, each from a direction of its own, as in Moorer's
// reverb (1979).
//
//     input (W, or W X Y Z) ──> earlyFrames ──┬─ a ──┐
//                                             ├─ b ──┼─ turned, spread or panned ──> W X Y Z
//                                             └─ c ──┘
//
// Part of the reverb. Run on the server's thread inside the block: only the constructor allocates.

#include <array>
#include <cstdint>

#include "goal/dsp/delayring.h"
#include "goal/fx/reverbparameters.h"
#include "numeric/bus.h"
#include "slib/realtime.h"

namespace goal::fx {

class EarlyReflections {
public:
    /// With `directional` the input has the four channels of a first-order field, otherwise one. For blocks
    /// of at most `blockFrames` frames, at the rate in Hz. Throws slib::OutOfMemoryException.
    EarlyReflections(float sampleRate, bool directional, std::uint32_t blockFrames);

    /// Sets the first `frames` samples of the four channels of `output`. Where delays, gain or pan have
    /// changed, fades from the old to the new ones over the first 2 ms.
    void Run(const ReverbParametersBase& parameters, const float* const* input, std::uint32_t frames,
             hcml::ac::Bus& output) SLIB_NONBLOCKING;

    /// What a block's parameters come to.
    struct Taps {
        std::uint32_t a = 0, b = 0, c = 0;  ///< delays in samples
        float gain = 0;                     ///< of W
        std::array<float, 3> pan{};         ///< of W in X, Y and Z
        float spread = 0;                   ///< of the taps' own directions
        bool operator==(const Taps&) const = default;
    };

    /// The frames `first` to `first` + `count` of the block that was written last.
    struct Range {
        std::uint32_t first;
        std::uint32_t count;
    };

    /// The parts of Run, for those who fade by themselves: Write takes a block in, and Render sets what
    /// `taps` make of a part of it.
    Taps TapsFor(const ReverbParametersBase& parameters) const;
    void Write(const float* const* input, std::uint32_t frames) SLIB_NONBLOCKING;
    void Render(const Taps& taps, Range range, std::uint32_t frames,
                hcml::ac::Bus& target) const SLIB_NONBLOCKING;

private:
    void FadeFromPrevious(std::uint32_t frames, hcml::ac::Bus& output);

    const float sampleRate;
    const bool directional;
    std::array<DelayRing<float>, 4> earlyFrames;  // W, X, Y, Z, written side by side; without directions W
    Taps previous;                                // of the last block
    bool started = false;
    hcml::ac::Bus fading;  // the fade's first part
};

}  // namespace goal::fx
