#pragma once

// A layout's speakers: where they stand, what people call them, and all of them as a text that a person edits
// and the format library's designer reads. One thread.

#include <string>
#include <vector>

#include "library/layouts.h"
#include "orb3core/speakers/layout.h"

namespace tool {

/// Where something stands, seen from the listener.
struct Place {
    double azimuth = 0;    ///< degrees, positive to the left
    double elevation = 0;  ///< degrees, positive above
    double distance = 0;   ///< metres
};

Place PlaceOf(const orb3::Location& location);

/// The layout as a room whose decoders can be designed: at the distances that were measured, or without any.
/// The crossover of its small speakers is the usual one.
design::SpeakerLayout RoomOf(const orb3::spk::Layout& layout);

/// The index of a speaker, by its label in whatever case, or by its number from 1. Throws WrongUse, which
/// lists the speakers.
std::size_t FindSpeaker(const orb3::spk::Layout& layout, const std::string& name);

/// A speaker that was measured.
struct MeasuredSpeaker {
    std::size_t index = 0;  ///< in the layout
    Place place;
};

/// The text of a room by the name of `name`. The places of `measured` count; the other speakers stand as in
/// `layout`, so that the furthest of all those is at `distance` (metres).
std::string RoomText(const orb3::spk::Layout& layout, const std::string& name,
                     const std::vector<MeasuredSpeaker>& measured, double distance);

}  // namespace tool
