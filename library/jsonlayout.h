#pragma once

// The JSON form of a layout that tools for Ambisonic decoders write. Called by the reader of layouts.

#include <string>
#include <string_view>

#include "library/layouts.h"

namespace design {

/// True for a text that begins as a JSON document does.
bool IsJson(std::string_view text);

/// Reads the speakers of the first object that has an array "Loudspeakers" or "Elements" (in capitals or
/// not), in the order of their channels:
///
///     {"Name": "Attic", "LoudspeakerLayout": {"Loudspeakers": [
///         {"Azimuth": 30, "Elevation": 0, "Radius": 2.4, "IsImaginary": false, "Channel": 1, "Gain": 1},
///         [-30, 0], [0, 45, 1.8] ]}}
///
/// Angles are degrees, azimuths to the left; a radius left out is 1 m. Imaginary speakers, which those tools
/// set into gaps, are left out: the designer makes its own. A speaker's name is its "Name", or "Speaker" and
/// its channel. The layout's name is that of the object, else of the document, else `source` without folder
/// and ending. Throws slib::BadDataException, with `source` and the number of the line, as ReadLayout.
SpeakerLayout ReadJsonLayout(std::string_view text, const std::string& source);

}  // namespace design
