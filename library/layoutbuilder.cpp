#include "library/layoutbuilder.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "slib/exception.h"

namespace design {
namespace {

constexpr double degree = std::numbers::pi / 180;
constexpr std::size_t mostSpeakers = 128;

}  // namespace

void LayoutBuilder::SetName(std::string_view name) {
    if (HasName()) throw slib::BadDataException("The layout has a name already.");
    const bool hasLetterOrDigit = std::ranges::any_of(name, [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    });
    if (!hasLetterOrDigit)
        throw slib::BadDataException("A layout's name needs a letter from A to Z or a digit.");
    layout.name = name;
}

void LayoutBuilder::SetCrossover(double frequency) {
    if (hasCrossover) throw slib::BadDataException("The layout has a crossover already.");
    if (!(frequency >= 30 && frequency <= 300))
        throw slib::BadDataException("A crossover is between 30 and 300 Hz.");
    layout.bassCrossover = frequency;
    hasCrossover = true;
}

void LayoutBuilder::Add(const RoomSpeaker& speaker) {
    if (layout.speakers.size() == mostSpeakers)
        throw slib::BadDataException("A layout has at most " + std::to_string(mostSpeakers) + " speakers.");
    if (!(speaker.distance >= 0.1 && speaker.distance <= 100))
        throw slib::BadDataException("A speaker stands between 0.1 and 100 metres away.");
    orb3::spk::Speaker{speaker.label, {}, speaker.type, speaker.role}.Validate();
    for (const RoomSpeaker& other : layout.speakers) {
        if (other.label == speaker.label)
            throw slib::BadDataException("There are two speakers \"" + speaker.label + "\".");
        if (other.IsDecoded() && speaker.IsDecoded() &&
            AngleBetween(other.direction, speaker.direction) < 0.5 * degree)
            throw slib::BadDataException(std::string("\"") + other.label + "\" and \"" + speaker.label +
                                         "\" stand in the same direction.");
    }
    layout.speakers.push_back(speaker);
}

SpeakerLayout LayoutBuilder::Finish() {
    if (!HasName())
        throw slib::BadDataException("The layout has no name; a line \"name: My room\" gives it one.");
    if (layout.DecodedSpeakers().empty())
        throw slib::BadDataException("The layout has no speaker to decode for.");
    return std::move(layout);
}

void PlaceAt(double azimuth, double elevation, double distance, RoomSpeaker& speaker) {
    if (!(std::abs(azimuth) <= 360))
        throw slib::BadDataException("An azimuth is between -360 and 360 degrees.");
    if (!(std::abs(elevation) <= 90))
        throw slib::BadDataException("An elevation is between -90 and 90 degrees.");
    speaker.direction = DirectionAt(azimuth * degree, elevation * degree);
    speaker.distance = distance;
}

}  // namespace design
