#pragma once

// To a multiple of the rate and back, for what makes frequencies that the rate can't hold: they are made at
// the higher rate, where they have room, and are filtered off on the way back. Polyphase filters of windowed
// sincs (R. E. Crochiere and L. R. Rabiner, "Multirate Digital Signal Processing", 1983). Owned by one
// effect, on the server's thread; only the constructor allocates.
//
//     input ──> Up ──> phases ──> the caller's work ──> Down ──> output
//
// The phases are rows: sample p of frame i is in row p at i.

#include <array>
#include <cstdint>

#include "numeric/floattuplevector.h"
#include "slib/realtime.h"

namespace goal {

class Oversampler {
public:
    static constexpr std::uint32_t mostFactor = 4;

    /// What the filters are, for a rate `factor` times as high.
    struct Design {
        std::uint32_t factor;            ///< 2 or 4
        std::uint32_t upTaps, downTaps;  ///< in each phase; even
        float passed;                    ///< where the way back has lost 6 dB, as a fraction of the rate
    };

    /// For chunks of up to `chunkFrames`. Throws slib::OutOfMemoryException.
    Oversampler(const Design& design, std::uint32_t chunkFrames);

    /// Where to write a chunk of input, before Up.
    float* Input() { return input.data + design.upTaps; }
    /// Fills the rows.
    void Up(std::uint32_t count) SLIB_NONBLOCKING;
    /// The row of phase p, below the factor: `count` samples after Up, to be worked on in place.
    float* Phase(std::uint32_t p) { return phases[p].data + design.downTaps; }
    /// Writes `count` samples of what the rows have become.
    void Down(float* output, std::uint32_t count) SLIB_NONBLOCKING;

    /// What the way there and back takes, in frames of the lower rate.
    std::uint32_t Delay() const { return (design.upTaps + design.downTaps) / 2; }

private:
    using Rows = std::array<hcml::FloatTupleVector, mostFactor>;

    const Design design;
    Rows up, down;                 // the taps, by phase
    hcml::FloatTupleVector input;  // what came before, and the chunk
    Rows phases;                   // the same
};

}  // namespace goal
