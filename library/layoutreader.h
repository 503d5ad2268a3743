#pragma once

// Reads a room that a user measured from a file, in our own text form or the JSON that tools for Ambisonic
// decoders write. Called by the program that adds layouts to a library.

#include <istream>
#include <string>

#include "library/layouts.h"

namespace design {

/// Reads a layout; a file that begins as JSON does by ReadJsonLayout. Of others each line is empty, a comment
/// from "#" on, the layout's name, or a speaker, in the order of the device's channels:
///
///     name: Attic
///     Front Left: azimuth 30, distance 2.4, role FrontLeft
///     Ceiling:    azimuth 0, elevation 80, distance 1.1
///     Side:       x -0.3, y 2, z 0.2
///     Sub:        x 1.5, y 1, type Sub-Woofer, role BassLFE
///
/// Azimuths (positive to the left) and elevations are degrees, 0 where left out; distances and coordinates
/// are metres, a distance left out is 1 and a coordinate left out 0. Roles and types are those of
/// orb3core/speakers/speakers.h.
///
/// `source` names the file in messages. Throws slib::BadDataException, with the number of the line, for all
/// that doesn't fit this form, a name missing, no speaker to decode for, more than 128 speakers, two decoded
/// speakers within half a degree of each other, or a distance outside 0.1 to 100 m.
SpeakerLayout ReadLayout(std::istream& stream, const std::string& source);

}  // namespace design
