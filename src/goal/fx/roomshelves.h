#pragma once

// The gains of a reverb at both ends of the spectrum, on its input, so that early and late part have them alike:
//
//     input ── high shelves ── low shelves ──> output
//
// Butterworth shelves of the second order, with their gain at the reference and nothing taken off the middle:
// as many in a row as a gain needs for that. Run on the server's thread inside the block: only the constructor
// allocates.

#include <array>
#include <cstdint>

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

    // (n0 + n1/z + n2/z²) / (1 + d1/z + d2/z²), and what it remembers of each channel.
    struct Section {
        double n0 = 1, n1 = 0, n2 = 0, d1 = 0, d2 = 0;
        std::array<double, mostChannels> w1{}, w2{};
    };

    struct Filter {
        std::array<Section, mostSections> sections;
        std::uint32_t count = 0;
    };

    void SetFilter(const RoomGains& gains, Filter& filter) const;
    void AddShelves(Filter& filter, double gain, double reference, bool isHigh) const;
    static void RunFilter(Filter& filter, std::uint32_t channel, float* samples, std::uint32_t frames);

    const float sampleRate;
    const CrossfadeCourse& course;
    Crossfade<RoomGains> fade;
    Filter now, old;
    hcml::ac::Bus fading;  // the output by `old`
};

}  // namespace goal::fx
