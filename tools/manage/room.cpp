#include "tools/manage/room.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "slib/text.h"
#include "tools/support/nearest.h"
#include "tools/support/wronguse.h"

namespace tool {
namespace {

constexpr double degrees = 180 / std::numbers::pi;

double Rounded(double value) {
    return std::round(value * 1000) / 1000 + 0.0;  // no "-0"
}

// What the reader takes for the end of a label, or of the line, isn't part of one.
std::string Label(std::string label) {
    std::replace_if(
        label.begin(), label.end(), [](char c) { return c == ':' || c == '#'; }, ' ');
    return label;
}

std::string Line(const orb3::spk::Speaker& speaker, const Place& place) {
    std::string line = Label(speaker.label) + ": azimuth " + slib::FormatNumber(Rounded(place.azimuth)) +
                       ", elevation " + slib::FormatNumber(Rounded(place.elevation)) + ", distance " +
                       slib::FormatNumber(Rounded(place.distance));
    if (speaker.type != orb3::spk::SpeakerType::Normal)
        line += ", type " + orb3::spk::GetSpeakerTypeText(speaker.type);
    if (speaker.role != orb3::spk::Role::Unknown) line += ", role " + orb3::spk::GetRoleText(speaker.role);
    return line + "\n";
}

// A speaker in the middle of the head would have no direction at all; it is taken to stand ahead.
std::vector<Place> PlacesOf(const orb3::spk::Layout& layout, double distance) {
    std::vector<Place> places;
    double furthest = 0;
    for (const orb3::spk::Speaker& speaker : layout.speakers) {
        places.push_back(PlaceOf(speaker.location));
        furthest = std::max(furthest, places.back().distance);
    }
    for (Place& place : places)
        place.distance = place.distance > 0 ? place.distance / furthest * distance : distance;
    return places;
}

}  // namespace

Place PlaceOf(const orb3::Location& location) {
    const double onFloor = std::hypot(location.x, location.y);
    return {std::atan2(location.y, location.x) * degrees, std::atan2(location.z, onFloor) * degrees,
            std::hypot(onFloor, location.z)};
}

design::SpeakerLayout RoomOf(const orb3::spk::Layout& layout) {
    design::SpeakerLayout room;
    room.name = layout.format;
    for (const orb3::spk::Speaker& speaker : layout.speakers) {
        const Place place = PlaceOf(speaker.location);
        design::RoomSpeaker& added = room.speakers.emplace_back();
        added.label = speaker.label;
        added.direction = design::DirectionAt(place.azimuth / degrees, place.elevation / degrees);
        added.distance = place.distance;
        added.type = speaker.type;
        added.role = speaker.role;
        added.hasDistance = layout.distance > 0;
    }
    for (std::size_t i = 0; i < room.speakers.size() && i < layout.channels.size(); ++i)
        room.speakers[i].gain = layout.channels[i].gain;
    const bool isDecoded = !room.DecodedSpeakers().empty();
    const double reference = isDecoded ? room.ReferenceDistance() : 0;
    for (design::RoomSpeaker& speaker : room.speakers) {
        const double metres = layout.distance > 0 ? layout.distance : 1;
        speaker.distance = speaker.distance > 0 && reference > 0 ? speaker.distance / reference * metres : 1;
    }
    return room;
}

std::size_t FindSpeaker(const orb3::spk::Layout& layout, const std::string& name) {
    std::vector<std::string> labels;
    std::string known;
    for (const orb3::spk::Speaker& speaker : layout.speakers) {
        known += (labels.empty() ? " It has " : ", ") + speaker.label;
        labels.push_back(speaker.label);
        if (std::to_string(labels.size()) == name) return labels.size() - 1;
    }
    if (const auto found = FindMeant(labels, name)) return *found;
    throw WrongUse("'" + layout.format + "' has no speaker '" + name + "'." + DidYouMean(labels, name) +
                   known + ".");
}

std::string RoomText(const orb3::spk::Layout& layout, const std::string& name,
                     const std::vector<MeasuredSpeaker>& measured, double distance) {
    std::vector<Place> places = PlacesOf(layout, distance);
    for (const MeasuredSpeaker& speaker : measured)
        places[speaker.index] = speaker.place;
    std::string text =
        "# Degrees, positive to the left and above; distances in metres.\nname: " + name + "\n";
    for (std::size_t i = 0; i < places.size(); ++i)
        text += Line(layout.speakers[i], places[i]);
    return text;
}

}  // namespace tool
