#pragma once

// The square and the sawtooth without what a rate can't hold: the plain waves, and around each of their jumps
// the difference between a step that has passed a low-pass and one that hasn't (E. Brandt, "Hard Sync Without
// Aliasing", ICMC 2001). The low-pass is a windowed sinc in the middle of the jump, so nothing is late. Owned
// by one effect, on the server's thread; only the constructor allocates.

#include <cstdint>
#include <vector>

#include "goal/dsp/oscillator.h"
#include "goal/dsp/waveform.h"
#include "slib/realtime.h"

namespace goal {

class BandLimitedWaves {
public:
    /// Throws std::bad_alloc.
    BandLimitedWaves();

    /// Writes the wave of `count` samples from the phase on, as Oscillator::Fill. The sinusoid is itself.
    /// Throws slib::IntegrityFailureException for the triangle.
    void Fill(float* values, std::uint32_t count, Waveform waveform, const Oscillator& phase,
              std::uint64_t step) const SLIB_NONBLOCKING;

private:
    void RoundJumps(float* values, std::uint32_t count, Phase toJump, Phase step,
                    float height) const SLIB_NONBLOCKING;

    std::vector<float> rows;  // of the difference, for jumps at each of many places between two samples
};

}  // namespace goal
