#pragma once

// What every form of a file of speakers has in common: the rules that a measured room keeps. For the readers
// of those forms; offline.

#include <string>
#include <string_view>

#include "library/layouts.h"

namespace design {

/// Adds what a file says to a layout, in the order of the device's channels. What doesn't fit is a
/// slib::BadDataException with a whole sentence, to which the reader adds the place in its file.
class LayoutBuilder {
public:
    /// A layout's name needs a letter from A to Z or a digit.
    void SetName(std::string_view name);

    /// Hz from 30 to 300, once.
    void SetCrossover(double frequency);
    bool HasName() const { return !layout.name.empty(); }

    /// Refuses a place outside 0.1 to 100 m, a label that there is already, two decoded speakers within half
    /// a degree of each other, a type and a role that don't fit, and more than 128 speakers.
    void Add(const RoomSpeaker& speaker);

    /// Refuses a layout without a name or without a speaker to decode for.
    SpeakerLayout Finish();

private:
    SpeakerLayout layout;
    bool hasCrossover = false;
};

/// Puts the speaker at an azimuth from -360 to 360 degrees, positive to the left, an elevation from -90 to 90
/// degrees, and a distance in metres. Throws slib::BadDataException for other angles.
void PlaceAt(double azimuth, double elevation, double distance, RoomSpeaker& speaker);

}  // namespace design
