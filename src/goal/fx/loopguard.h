#pragma once

// Keeps a loop of delay and feedback from running away: what comes back is never louder than the loudest that
// went in of late, so that the line holds twice that at most, whatever the input and the delay are. Where the
// feedback is a half or less, nothing can come near that, and the guard changes nothing.
//
// Above a half the gain of the loop falls toward 0.4 as the line fills, slowly enough that nothing is heard
// of it; and what comes too fast for that is limited, with an attack of one sample and a slow release, as in
// G. W. McNally, "Dynamic Range Control of Digital Audio Signals" (Journal of the AES, 1984), but by a
// threshold that is the envelope of the input. Owned by one effect, on the server's thread; nothing is
// allocated.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

#include "goal/dsp/antidenormal.h"
#include "slib/realtime.h"

namespace goal::fx {

/// The gain of a loop for a feedback of -1 to 1: up to a half the feedback itself, at the ends 0.97, where a
/// loop dies away in two hundred rounds.
inline float LoopGain(float feedback) {
    const float beyond = 2 * std::max(std::abs(feedback) - 0.5F, 0.0F), square = beyond * beyond;
    return feedback - std::copysign(0.03F * (square * square), feedback);
}

class LoopGuard {
public:
    explicit LoopGuard(double sampleRate)
        : fall(static_cast<float>(std::pow(10, -3 / (20 * sampleRate)))),
          release(static_cast<float>(1 / (0.5 * sampleRate))),
          powerShare(static_cast<float>(1 / (0.02 * sampleRate))) {}

    /// What of `heard`, the mean of the taps, may come back by a feedback of LoopGain in the frame of
    /// `input`, a finite sample.
    float Held(float heard, float feedback, float input) {
        loudest = std::max(loudest * fall, std::abs(input));
        power += (heard * heard - power) * powerShare;
        const float fullness = power / std::max(loudest * loudest, 1e-30F);
        const float room = std::clamp(1.7F - fullness, 0.0F, 1.0F);
        const float gain = std::abs(feedback), least = std::max(0.4F, 1 - gain);
        const float returned = heard * std::copysign(std::min(gain, least + (gain - least) * room), feedback);
        const float most = (loudest + silent) / std::max(std::abs(returned), silent);
        share = std::min(share + (1 - share) * release, most);
        return returned * share;
    }

    /// The same for `count` frames, in place of `heard`, sparing the work where all may come back.
    void Hold(float* heard, const float* feedbacks, const float* input,
              std::uint32_t count) SLIB_NONBLOCKING {
        const float most = PeakOf(feedbacks, count);
        if (most <= 0.5F && share > 0.9999F && most * PeakOf(heard, count) <= 0.99F * loudest) {
            share = 1;
            power = 0;
            for (std::uint32_t i = 0; i < count; ++i) {
                heard[i] *= feedbacks[i];
                loudest = std::max(loudest * fall, std::abs(input[i]));
            }
            return;
        }
        for (std::uint32_t i = 0; i < count; ++i)
            heard[i] = Held(heard[i], feedbacks[i], input[i]);
    }

    /// At the end of a block.
    void Settle() {
        loudest = KeptInMemory(loudest);
        power = KeptInMemory(power);
    }

private:
    // In lanes, which the compiler may not make of one maximum.
    static float PeakOf(const float* samples, std::uint32_t count) {
        std::array<float, 8> lanes{};
        std::uint32_t i = 0;
        for (; i + 8 <= count; i += 8)
            for (std::uint32_t k = 0; k < 8; ++k)
                lanes[k] = std::max(lanes[k], std::abs(samples[i + k]));
        for (; i < count; ++i)
            lanes[0] = std::max(lanes[0], std::abs(samples[i]));
        return *std::ranges::max_element(lanes);
    }

    static constexpr float silent = 1e-15F;

    const float fall;  // of `loudest` in a frame: 3 dB a second, slower than a loop that is to be heard
    const float release, powerShare;
    float loudest = 0;  // of the input
    float power = 0;    // of what is heard, over 20 ms
    float share = 1;
};

}  // namespace goal::fx
