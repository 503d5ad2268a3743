#pragma once

// Whether a library is sound, and how well its decoders do, as figures for tables. Called by the program that
// checks libraries, and by tests; reads through the librarian it is given, and changes nothing.

#include <string>
#include <vector>

#include "library/check/headcheck.h"
#include "library/layouts.h"
#include "orb3core/library/formatlibrarian.h"

namespace design {

using DecoderTransform = orb3::strans::TimeDomainTransform<double, 1>;

/// The greatest deviation in dB from the loudness that all decoders share.
inline constexpr double levelTolerance = 0.5;

/// One conversion at one rate, read and judged.
struct TransformFinding {
    orb3::fl::Conversion conversion;
    int rate = 0;  ///< Hz
    std::uint32_t inputs = 0, outputs = 0;
    std::uint32_t width = 0;  ///< samples of a response
    bool hasLevel = false;    ///< decodes the sound field for speakers or headphones
    double level = 0;         ///< dB of a source straight ahead against 4 pi
    std::string fault;        ///< a sentence; empty for none
};

/// All conversions at all rates that they are stored at; composite ones at all rates of the library, as far
/// as `library` makes them.
std::vector<TransformFinding> CheckTransforms(const orb3::fl::FormatLibrarian& library);

/// dB of a plane wave from straight ahead against 4 pi: the energies of all speakers added, or those of both
/// ears. Throws slib::BadParameterException for a transform that doesn't fit `layout`.
double FrontLevel(const SpeakerLayout& layout, const DecoderTransform& transform);

/// One decoder for speakers. Velocity is that at 60 to 120 Hz, energy that at 6 to 12 kHz, over 180
/// directions of the horizon for flat layouts, and over 400 of the sphere for others.
struct SpeakerFigures {
    std::string layout, method;  ///< the name; the tag
    unsigned order = 0;
    bool hasVelocity = false;  ///< false with unequal distances, or without speakers all around
    double velocityLength = 0, velocityError = 0;  ///< mean; greatest, degrees
    double limit = 0;                              ///< of the energy vector's length for the order
    double meanLength = 0, leastLength = 0;        ///< of the energy vector
    double meanError = 0, greatestError = 0;       ///< degrees of the energy vector
    double frontError = 0;                         ///< the greatest within 30 degrees of ahead
    double leastLevel = 0, greatestLevel = 0;      ///< dB

    // Over all bands of an octave or more from 60 Hz, or from twice the crossover of managed bass, to 12 kHz.
    double leastInBands = 0, greatestInBands = 0;  ///< dB
    // Of the velocity vector below 700 Hz and of the energy vector above, outside the layout's own gaps, in
    // the band where it is greatest; degrees.
    double meanErrorInBands = 0, greatestErrorInBands = 0;
    std::string fault;  ///< a sentence; empty for a decoder within the limits
};

/// At `rate` Hz, which the library has to be stored at.
///
/// Limits are for the method "dualband" on the layouts of DefaultPlan with speakers all around: level, and
/// direction in the mean and at most. On 5.1 and 7.1 from order 3 on they are 0.5 dB, 2 and 5 degrees; on
/// other flat ones 0.75 dB, 4 and 15 degrees; on those with height 1.1 dB, 5 and 15 degrees, but 0.75 dB, 9
/// and 26 at order 1. Gaps are where neighbours on the horizon are more than 90 degrees apart, or an
/// imaginary speaker takes part.
std::vector<SpeakerFigures> CheckSpeakers(const orb3::fl::FormatLibrarian& library, int rate);

/// Throws slib::BadDataException with the first fault of CheckSpeakers.
void CheckLimits(const orb3::fl::FormatLibrarian& library, int rate);

/// The heads that decoders for headphones are held against.
struct ReferenceHeads {
    HeadSpectra measured;  ///< without directions for none
    HeadSpectra sphere;
};
/// Prepared at `rate` Hz; `sofaPath` is empty for no measured head. Throws what ReadSofa throws.
ReferenceHeads MakeReferenceHeads(const std::string& sofaPath, int rate);

/// The one that a method imitates; null for a measured one that isn't there.
const HeadSpectra* ReferenceOf(const std::string& method, const ReferenceHeads& heads);

struct HeadFigures {
    std::string method;  ///< the tag
    unsigned order = 0;
    HeadErrors errors;
};

/// At `rate` Hz, that of `heads`. Leaves out the methods whose head isn't there.
std::vector<HeadFigures> CheckHeads(const orb3::fl::FormatLibrarian& library, const ReferenceHeads& heads,
                                    int rate);

}  // namespace design
