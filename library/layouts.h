#pragma once

// The listening rooms that decoders are designed for: the standard layouts, regular ones, and those that a
// user measured. Plain records for the speaker designer and for the writer of formats into a library. Free
// functions without state; usable from any thread.

#include <string>
#include <vector>

#include "library/sphericalbasis.h"
#include "orb3core/speakers/speakers.h"
#include "slib/standardformats.h"

namespace design {

/// How a layout's channels come to be.
enum class LayoutKind {
    Speakers,      ///< One signal for each speaker.
    MatrixStereo,  ///< Two channels that carry surround for a matrix decoder, or play as stereo.
    Headphones,    ///< Two ears; the speaker designer doesn't serve these.
};

struct RoomSpeaker {
    std::string label;
    Direction direction;
    double distance = 1;  ///< metres
    orb3::spk::SpeakerType type = orb3::spk::SpeakerType::Normal;
    orb3::spk::Role role = orb3::spk::Role::Unknown;
    bool hasDistance = false;  ///< The distance was measured.
    double gain = 1;           ///< linear, of its output; nothing for the designer

    /// False for sub-woofers and for speakers of dialogue alone: they take dedicated signals.
    bool IsDecoded() const;
};

struct SpeakerLayout {
    std::string name;
    slib::StandardFormat family = slib::StandardFormat::Unknown;
    LayoutKind kind = LayoutKind::Speakers;
    std::vector<RoomSpeaker> speakers;  ///< in the order of the output channels
    double bassCrossover = 80;          ///< Hz below which the bass of small speakers goes to the sub-woofers

    /// Indices of the speakers that take part in decoding.
    std::vector<std::size_t> DecodedSpeakers() const;

    /// Speakers that take the bass of the small ones; none where no speaker is small.
    std::vector<std::size_t> BassSpeakers() const;

    /// All decoded speakers are within 25 degrees of the horizon, and within 25 of each other in height: they
    /// can't tell above from below.
    bool IsFlat() const;

    /// The distances of all decoded speakers were measured.
    bool IsMeasured() const;

    /// The distance of the furthest decoded speaker in metres; nearer ones are lowered and delayed to match.
    double ReferenceDistance() const;
};

/// The nine layouts that an operating system can name, by the names of slib/standardformats.h: Mono at 0
/// degrees; stereo at +-30; quad at +-45 and +-135; 5.1 and 7.1 with fronts at 0 and +-30, sides at +-110
/// (5.1) or +-90 (7.1), backs without sides at +-135 and with sides at +-150 (ITU-R BS.775 and BS.2159);
/// wide 7.1 with two more fronts at +-15.
std::vector<SpeakerLayout> StandardLayouts();

/// 5.1 and 7.1 of small speakers, whose bass goes to the sub-woofer.
std::vector<SpeakerLayout> SmallLayouts();

/// "Hexagon" and "Octagon", flat with a speaker ahead, and "Cube", of 8.
std::vector<SpeakerLayout> RegularLayouts();

/// Layouts of more speakers than an operating system can name, all with height but the ring: "Surround
/// 5.1.2", "Surround 5.1.4", "Surround 7.1.4" and "Surround 22.2" as systems C, D, J and H of ITU-R BS.2051,
/// in its order of the channels and by the names that sound servers have for them; "Octophonic Ring", whose
/// front lies between two speakers; and "Dome 24", rings of 12, 8 and 4 at elevations of 0, 30 and 60
/// degrees.
std::vector<SpeakerLayout> WideLayouts();

/// The set that goes with the layout's format.
///
/// The set-up gives dedicated dialogue, and bass, the fourth root of the count of speakers times the
/// distance of the one that plays it. Locations are therefore scaled so that the reference distance becomes
/// that count to the power -1/4: dialogue is then as loud by every layout and distance, namely as a plane
/// wave of amplitude 1 by one speaker of gain sqrt(4 pi).
orb3::spk::SpeakerSet MakeSpeakerSet(const SpeakerLayout& layout);

}  // namespace design
