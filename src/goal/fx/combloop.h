#pragma once

// What a comb line of the reverb does to a sound each time round: the loop's gain and its two shelves, by
// which the decay time differs with the frequency, as Jot and Chaigne have it (1991) with Moorer's one-pole
// low-pass (1979). Worked out once a block and only when something has changed; plain values.

#include "goal/dsp/filtergaintables.h"

namespace goal::fx {

/// The times in which the loops lose 60 dB, in samples, and the frequencies of the shelves.
struct CombDecay {
    double time = 0;
    double highTime = 0;   ///< at the high reference and above
    double lowTime = 0;    ///< at the low reference and below
    double highAngle = 1;  ///< of the references, in radians per sample, above 0 and below pi
    double lowAngle = 1;
    bool operator==(const CombDecay&) const = default;
};

/// One shelf: a low-pass y = a·x + b·y1 and the boost besides, 0 when the shelf cuts.
struct CombShelf {
    float a = 0;
    float b = 0;
    float boost = 0;
};

struct CombLoop {
    float feedback = 0;  ///< linear, negative
    CombShelf high;
    CombShelf low;
};

/// The loop of a line of `length` samples whose gain is weighted with `weight`, above 0 and up to 1. The
/// shelves' gains are those of the whole line over the weighted gain, so that low weights boost both ends of
/// the spectrum. Where the middle, which gets some of both boosts, would not die away any more, they are held
/// to a product with the loop's gain of 1.
CombLoop MakeCombLoop(const CombDecay& decay, double length, double weight, const FilterGainTables& tables);

}  // namespace goal::fx
