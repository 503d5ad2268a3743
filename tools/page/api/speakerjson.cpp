#include "tools/page/api/speakerjson.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <string>

#include "library/layoutbuilder.h"
#include "orb3core/setup/speakerconnection.h"
#include "tools/manage/room.h"
#include "tools/page/api/reading.h"

namespace page {
namespace {

constexpr double degrees = 180 / std::numbers::pi;

Json Describe(std::size_t index, const design::RoomSpeaker& speaker) {
    const design::Direction& to = speaker.direction;
    return {{"number", index + 1},
            {"label", speaker.label},
            {"role", orb3::spk::GetRoleText(speaker.role)},
            {"type", orb3::spk::GetSpeakerTypeText(speaker.type)},
            {"azimuth", Rounded(design::AzimuthOf(to) * degrees)},
            {"elevation", Rounded(std::asin(std::clamp(to.z(), -1.0, 1.0)) * degrees)},
            {"distance", Rounded(speaker.distance)},
            {"output", ""},
            {"gain", speaker.gain},
            {"isBassOnly", false}};
}

design::RoomSpeaker SpeakerFrom(const Json& object, std::size_t index, bool isNamed) {
    design::RoomSpeaker speaker;
    speaker.label = isNamed ? NameIn(object, "label") : std::to_string(index + 1);
    const std::string type = WordIn(object, "type"), role = WordIn(object, "role");
    if (!type.empty()) speaker.type = orb3::spk::ParseSpeakerType(type);
    if (!role.empty()) speaker.role = orb3::spk::ParseRole(role);
    const bool isSub = speaker.type == orb3::spk::SpeakerType::SubWoofer;
    if (isSub && role.empty()) speaker.role = orb3::spk::Role::BassLFE;
    const double azimuth = NumberIn(object, "azimuth", -360, 360);
    const double elevation = NumberIn(object, "elevation", -90, 90);
    const auto distance = OptionalNumberIn(object, "distance", 0.1, 100);
    speaker.hasDistance = distance.has_value();
    design::PlaceAt(azimuth, elevation, distance.value_or(1), speaker);
    speaker.gain = OptionalNumberIn(object, "gain", 0, 100).value_or(1);
    return speaker;
}

}  // namespace

Json SpeakersOf(const design::SpeakerLayout& room) {
    Json speakers = Json::array();
    for (std::size_t i = 0; i < room.speakers.size(); ++i)
        speakers.push_back(Describe(i, room.speakers[i]));
    return speakers;
}

Json SpeakersOf(const orb3::spk::Layout& layout) {
    Json speakers = SpeakersOf(tool::RoomOf(layout));
    for (std::size_t i = 0; i < std::min(layout.channels.size(), speakers.size()); ++i)
        speakers[i]["output"] = layout.channels[i].pipePlaybackChannel;
    if (layout.channels.size() == layout.speakers.size())
        for (const std::size_t i : orb3::SpeakersOnBassOutputs(layout))
            speakers[i]["isBassOnly"] = true;
    return speakers;
}

design::SpeakerLayout RoomFrom(const std::string& name, const Json& speakers, bool isNamed) {
    return FromPage([&] {
        design::LayoutBuilder builder;
        builder.SetName(name);
        for (std::size_t i = 0; i < speakers.size(); ++i)
            builder.Add(SpeakerFrom(speakers[i], i, isNamed));
        return builder.Finish();
    });
}

}  // namespace page
