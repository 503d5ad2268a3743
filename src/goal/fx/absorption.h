#pragma once

// What a line of the reverb's network takes off a sound each time round: a gain and two shelves, by which the
// decay time differs with the frequency (Jot and Chaigne, 1991). The three gains of a line are solved for
// together, so that each end of the spectrum has its decay time at its reference and the middle keeps its
// own, as the bands of a graphic equalizer are (Prawda, Schlecht and Välimäki, 2019). Worked out once a block
// and only when something has changed; plain values.

#include <array>
#include <cstdint>

#include "goal/dsp/biquad.h"
#include "numeric/kernels/networkkernel.h"

namespace goal::fx {

/// The times for 60 dB in seconds, and the references in Hz.
struct RoomDecay {
    double time = 1;
    double highTime = 1;  ///< at the high reference
    double lowTime = 1;   ///< at the low reference
    double highReference = 5000;
    double lowReference = 250;
    bool operator==(const RoomDecay&) const = default;

    double LongestTime() const;

    /// The energy of pink noise in the room from 50 Hz to 12 kHz, over what it would be if all decayed in
    /// `time`.
    double PinkEnergy() const;
};

/// The lengths of a line's two delays, in samples. What a sound in the middle loses in the second is taken
/// off there, and the filter does all the rest.
struct LineLengths {
    std::uint32_t delay = 0;
    std::uint32_t diffuser = 0;
};

/// The filter of one line: a gain, and shelves whose ends have these and their corners half of them.
struct LineFilter {
    double gain = 0;        ///< dB, as all of these
    double high = 0;        ///< of the high shelf's end
    double low = 0;         ///< of the low shelf's end; 0 where the low decay time is nearly right without it
    double highCorner = 1;  ///< the tangent of half its angle, as the other
    double lowCorner = 1;

    /// Both sections, with the gain in the first.
    std::array<Biquad, 2> Biquads() const;
    /// The same, for one line of a network.
    void Set(hcml::NetworkShelves& shelves, std::size_t line) const;
};

/// The middle is 1 kHz, or further from references that are near to it; references less than two octaves
/// apart share what is between them, and the decay times are then those of the shelves' ends. At no frequency
/// does a line sound much longer than 1.2 times the longest of the three times.
LineFilter DesignAbsorption(const RoomDecay& decay, double sampleRate, const LineLengths& lengths);

/// What is left of a sound's energy after `length` samples, when 60 dB take `time` seconds.
double EnergyLeft(double length, double time, double sampleRate);

/// The longest line, in seconds, that the shelves can damp as told.
double LongestLine(const RoomDecay& decay);

}  // namespace goal::fx
