#pragma once

// The gains of a reverb at both ends of the spectrum, on its input, so that early and late part have them
// alike:
//
//     input ── high shelves ── low shelves ──> output
//
// Butterworth shelves of the second order, with their gain at the reference and nothing taken off the middle:
// as many in a row as a gain needs for that. Run on the server's thread inside the block: only the
// constructor allocates.

#include <array>
#include <cstdint>

#include "goal/dsp/biquad.h"
#include "goal/dsp/crossfade.h"
#include "numeric/bus.h"
#include "slib/realtime.h"

namespace goal::fx {

/// Linear gains up to 1 at references in Hz.
struct RoomGains {
    float high = 1;
    float low = 1;
    float highReference = 5000;
    float lowReference = 250;
    bool operator==(const RoomGains&) const = default;
};

class RoomShelves {
public:
    /// Of `channelCount` channels, 1 or 4, at the rate in Hz, for blocks of at most `blockFrames`. The course
    /// outlives the object. Throws slib::OutOfMemoryException.
    RoomShelves(float sampleRate, std::uint32_t channelCount, std::uint32_t blockFrames,
                const CrossfadeCourse& course);

    hcml::ac::Bus output;  ///< of the last Run

    /// Sets `frames` samples of `output`. Gains that have changed fade over from the old ones; samples that
    /// aren't finite count as 0. What is less than -60 dB is -60 dB.
    void Run(const RoomGains& gains, const float* const* input, std::uint32_t frames) SLIB_NONBLOCKING;

private:
    static constexpr std::uint32_t mostChannels = 4;
    static constexpr std::uint32_t mostSections = 8;

    struct Filter {
        std::array<std::array<Biquad, mostSections>, mostChannels> sections;
        std::uint32_t count = 0;
    };

    Filter MakeFilter(const RoomGains& gains) const;
    void AddShelves(Filter& filter, double gain, double reference, bool isHigh) const;

    const float sampleRate;
    const CrossfadeCourse& course;
    Crossfade<RoomGains> fade;
    Filter now, old;
    hcml::ac::Bus fading;  // the output by `old`
};

}  // namespace goal::fx
