#pragma once

// Gains that slew instead of jumping, at 2000 dB per second, with a floor of -60 dB below which they jump:
// the step that all gains of the renderer take (GainSlew), and the ramp that holds the listener's gain on a
// bus (GainRamp). Used on the server's thread inside the block; nothing here allocates.

#include <cstdint>

#include "numeric/bus.h"
#include "numeric/floattuplevector.h"
#include "slib/realtime.h"

namespace goal {

/// The constants of the slope, for one sample rate. A gain moves once per `stepFrames`.
struct GainSlew {
    std::uint32_t stepFrames = 1;  ///< about 0.1 ms
    double upFactor = 1;           ///< of a rising gain, per step
    double downFactor = 1;         ///< 1 / upFactor
    float floor = 0.001F;          ///< linear; a rising gain starts here, a falling gain ends here

    /// The value after one step toward `target`, with the floor times `floorScale` for the floor. Both gains
    /// are usable ones (UsableGain); the target is reached exactly, after finitely many steps.
    float Step(float value, float target, float floorScale = 1) const;
};

/// The constants for a rate in Hz, above 0.
GainSlew MakeGainSlew(double sampleRate);

/// The gain to work with where a game's settings multiply to `gain`: itself from 1e-20 to 1e15, 1e15 above,
/// and 0, which is silence, below and for what is infinite or not a number. So nothing that isn't finite gets
/// into a ramp, a filter's memory or the mix, and no product with a sample is denormal.
float UsableGain(float gain) SLIB_NONBLOCKING;

/// A gain on a block of one or more channels. The constants are copied from those of the renderer's filters.
struct GainRamp : GainSlew {
    float current = -1;  ///< the gain reached; negative: the next block takes its target at once

    GainRamp() = default;
    explicit GainRamp(const GainSlew& slew) : GainSlew(slew) {}

    /// Multiplies all channels by the gain on its way to `target` (linear; any value, see UsableGain). Steps
    /// that don't fit into the block wait for the next one. With `current` and `target` at 1 touches no
    /// sample.
    void Apply(float target, hcml::ac::Bus& bus) SLIB_NONBLOCKING;

    /// The same on one channel.
    void Apply(float target, hcml::FloatTupleVector& block) SLIB_NONBLOCKING;

private:
    void Run(float target, float* const* channels, std::uint32_t channelCount,
             std::uint32_t frames) SLIB_NONBLOCKING;
};

}  // namespace goal
