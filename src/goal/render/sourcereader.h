#pragma once

// The readers: they walk the queue of a playing source at the block's pitch and write one block of raw
// samples, to which gains and filters are applied then. They own the play position, the steps from buffer to
// buffer, loops, and the stop at the end of data. The renderer calls them for each playing source of a block,
// on the server's thread; reading allocates nothing, locks nothing, and takes a time that no pitch, rate or
// loop can stretch beyond a bound.
//
//     queue ── sampledecoder ──> raw frames ── nearest, linear or sinc ──> block × scale = full scale 1

#include <array>
#include <cstdint>
#include <optional>

#include "goal/dsp/samplerateconverter.h"
#include "goal/state/converterstate.h"
#include "goal/state/enginestate.h"
#include "numeric/alignedmemory.h"
#include "numeric/bus.h"
#include "orb3core/settings/goalconfig.h"
#include "slib/realtime.h"

namespace goal {

/// How fast a source is to be read.
struct ReadRate {
    double pitch;   ///< factor on the rate of the buffers
    double output;  ///< sample rate of the block in Hz
};

/// Of a source.
inline constexpr std::uint32_t maxChannels = 8;

/// The linear reader's last input frame, raw, a value for each channel: what lies before the next buffer.
using PreviousFrame = std::array<float, maxChannels>;

/// The quality of the converter which a setting asks for; none for Off and Linear. A value outside the
/// enumeration is an integrity failure.
[[nodiscard]] std::optional<SincQuality> SincQualityOf(orb3::SampleRateConversion conversion);

/// Reads with one quality for its whole life: "Off" takes the nearest frame, "Linear" interpolates, and is
/// one input frame later than that; the sinc qualities pass the frames through the source's converter. A game
/// can't set what breaks it: a pitch of 0, below, or NaN is silence with the source held; an infinite one
/// counts as a very high one.
class SourceReader {
public:
    /// `sound` says what the linear reader takes before the first frame of a buffer that follows one of IMA
    /// ADPCM: its last frame, or silence for Classic. Throws slib::OutOfMemoryException; a value outside the
    /// enumeration is an integrity failure.
    explicit SourceReader(orb3::SampleRateConversion quality, orb3::Sound sound = orb3::Sound::Refined);

    /// Writes `frames` floats to `target`, from a source of one channel. Moves position, current buffer and,
    /// at the end of data, the state of `source`. `previousFrame` and `converter` keep what the next block
    /// needs: "Linear" uses the one, the sinc qualities the other, which must be initialised for the same
    /// quality. Returns the factor that brings the block to full scale 1; 0 when there is nothing to read.
    /// The first buffer's rate and scale serve for the whole queue. A queue that holds a buffer of another
    /// channel count is an integrity failure.
    float ReadMono(Source& source, PreviousFrame& previousFrame, ConverterState& converter, ReadRate rate,
                   float* target, std::uint32_t frames) SLIB_NONBLOCKING;

    /// The same for a source of two to eight channels, as many as `target` has: fills all its frames. A
    /// converter of another channel count gets a new ring, which may throw slib::OutOfMemoryException.
    float ReadMultiChannel(Source& source, PreviousFrame& previousFrame,
                           MultiChannelConverterState& converter, ReadRate rate,
                           hcml::ac::Bus& target) SLIB_NONBLOCKING;

private:
    struct Target;
    struct Stretch;

    float ReadStepped(Source& source, PreviousFrame& previousFrame, ReadRate rate, const Target& target);
    const float* const* Planar(const float* frames, std::uint32_t channelCount, std::uint32_t count);
    void TakeNearest(Stretch stretch, const Target& target);
    void Interpolate(Stretch stretch, const PreviousFrame& previousFrame, const Target& target);
    std::uint32_t InterpolateDense(const Stretch& stretch, const Target& target);
    std::uint32_t InterpolateSparse(const Stretch& stretch, const Target& target);

    template <typename Converter>
    float ReadSinc(Source& source, Converter& converter, ReadRate rate, const Target& target);

    const orb3::SampleRateConversion quality;
    const bool isPlain;
    hcml::AlignedFloats raw;     ///< decoded frames, interleaved
    hcml::AlignedFloats planar;  ///< the same, a row for each channel
    std::array<float*, maxChannels> planarRows{};
    std::array<const float*, maxChannels> rows{};  ///< where each channel of the frames at hand is
};

}  // namespace goal
