#include "library/layouts.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string_view>

namespace design {
namespace {

using orb3::spk::Role;
using orb3::spk::SpeakerType;
using slib::StandardFormat;

using std::numbers::pi;

constexpr double degree = pi / 180;
constexpr double tallest = 25 * degree;  // of a flat layout

struct Place {
    std::string_view channel;
    double azimuth;  // degrees
    Role role;
    double elevation = 0;  // degrees
};

struct Room {
    StandardFormat format;
    LayoutKind kind;
    std::vector<Place> places;
};

const Place left{"Front Left", 30, Role::FrontLeft};
const Place right{"Front Right", -30, Role::FrontRight};
const Place centre{"Front Centre", 0, Role::FrontCentre};
const Place bass{"Bass (LFE Only)", 0, Role::BassLFE};
const std::vector<Place> stereo{{"Left", 30, Role::FrontLeft}, {"Right", -30, Role::FrontRight}};

// The three fronts and the bass, which open all layouts from 5.1 on.
std::vector<Place> FrontAnd(std::vector<Place> others) {
    others.insert(others.begin(), {left, right, centre, bass});
    return others;
}

const std::vector<Room>& Rooms() {
    static const std::vector<Room> rooms{
        {StandardFormat::Mono, LayoutKind::Speakers, {{"Output", 0, Role::FrontCentre}}},
        {StandardFormat::Stereo, LayoutKind::Speakers, stereo},
        {StandardFormat::HeadphoneStereo,
         LayoutKind::Headphones,
         {{"Left", 90, Role::FrontLeft}, {"Right", -90, Role::FrontRight}}},
        {StandardFormat::SurroundStereo, LayoutKind::MatrixStereo, stereo},
        {StandardFormat::Quad,
         LayoutKind::Speakers,
         {{"Front Left", 45, Role::FrontLeft},
          {"Front Right", -45, Role::FrontRight},
          {"Back Left", 135, Role::BackLeft},
          {"Back Right", -135, Role::BackRight}}},
        {StandardFormat::Surround51, LayoutKind::Speakers,
         FrontAnd({{"Back Left", 135, Role::BackLeft}, {"Back Right", -135, Role::BackRight}})},
        {StandardFormat::Surround51ITU, LayoutKind::Speakers,
         FrontAnd({{"Side Left", 110, Role::SideLeft}, {"Side Right", -110, Role::SideRight}})},
        {StandardFormat::Surround71, LayoutKind::Speakers,
         FrontAnd({{"Back Left", 150, Role::BackLeft},
                   {"Back Right", -150, Role::BackRight},
                   {"Side Left", 90, Role::SideLeft},
                   {"Side Right", -90, Role::SideRight}})},
        {StandardFormat::Surround71Wide, LayoutKind::Speakers,
         FrontAnd({{"Back Left", 135, Role::BackLeft},
                   {"Back Right", -135, Role::BackRight},
                   {"Front Left of Centre", 15, Role::Unknown},
                   {"Front Right of Centre", -15, Role::Unknown}})},
    };
    return rooms;
}

RoomSpeaker SpeakerAt(const Place& place) {
    const bool isBass = place.role == Role::BassLFE;
    return {std::string(place.channel), DirectionAt(place.azimuth * degree, place.elevation * degree), 1,
            isBass ? SpeakerType::SubWoofer : SpeakerType::Normal, place.role};
}

SpeakerLayout LayoutOf(std::string name, const std::vector<Place>& places) {
    SpeakerLayout layout{std::move(name), StandardFormat::Unknown, LayoutKind::Speakers, {}};
    for (const Place& place : places)
        layout.speakers.push_back(SpeakerAt(place));
    return layout;
}

SpeakerLayout LayoutOf(const Room& room) {
    SpeakerLayout layout = LayoutOf(slib::GetStandardFormatName(room.format), room.places);
    layout.family = room.format;
    layout.kind = room.kind;
    return layout;
}

// Pairs at these azimuths (degrees), the second one where that is above 0.
std::vector<Place> Tops(double front, double back) {
    constexpr double elevation = 30;
    std::vector<Place> tops{{"Top Front Left", front, Role::Unknown, elevation},
                            {"Top Front Right", -front, Role::Unknown, elevation}};
    if (back > 0)
        tops.insert(tops.end(), {{"Top Back Left", back, Role::Unknown, elevation},
                                 {"Top Back Right", -back, Role::Unknown, elevation}});
    return tops;
}

std::vector<Place> Joined(std::vector<Place> places, const std::vector<Place>& others) {
    places.insert(places.end(), others.begin(), others.end());
    return places;
}

std::vector<Place> TwentyTwoAndTwo() {
    constexpr double top = 30, bottom = -30;
    return {{"Front Left", 60, Role::FrontLeft},
            {"Front Right", -60, Role::FrontRight},
            centre,
            {"Bass (LFE Only)", 45, Role::BassLFE, bottom},
            {"Back Left", 135, Role::BackLeft},
            {"Back Right", -135, Role::BackRight},
            {"Front Left of Centre", 30, Role::Unknown},
            {"Front Right of Centre", -30, Role::Unknown},
            {"Back Centre", 180, Role::BackCentre},
            {"Bass 2 (LFE Only)", -45, Role::BassLFE, bottom},
            {"Side Left", 90, Role::SideLeft},
            {"Side Right", -90, Role::SideRight},
            {"Top Front Left", 45, Role::Unknown, top},
            {"Top Front Right", -45, Role::Unknown, top},
            {"Top Front Centre", 0, Role::Unknown, top},
            {"Top Centre", 0, Role::Unknown, 90},
            {"Top Back Left", 135, Role::Unknown, top},
            {"Top Back Right", -135, Role::Unknown, top},
            {"Top Side Left", 90, Role::Unknown, top},
            {"Top Side Right", -90, Role::Unknown, top},
            {"Top Back Centre", 180, Role::Unknown, top},
            {"Bottom Front Centre", 0, Role::Unknown, bottom},
            {"Bottom Front Left", 45, Role::Unknown, bottom},
            {"Bottom Front Right", -45, Role::Unknown, bottom}};
}

RoomSpeaker Numbered(std::size_t number, const Direction& direction) {
    const bool isAhead = AngleBetween(direction, Direction::UnitX()) < 1e-6;
    return {std::string("Speaker ") + std::to_string(number), direction, 1, SpeakerType::Normal,
            isAhead ? Role::FrontCentre : Role::Unknown};
}

SpeakerLayout RegularLayout(std::string name, const std::vector<Direction>& directions) {
    SpeakerLayout layout{std::move(name), StandardFormat::Unknown, LayoutKind::Speakers, {}};
    for (const Direction& direction : directions)
        layout.speakers.push_back(Numbered(layout.speakers.size() + 1, direction));
    return layout;
}

std::vector<Direction> CubeCorners() {
    std::vector<Direction> corners;
    for (double z : {-1.0, 1.0})
        for (double azimuth : {45.0, -45.0, 135.0, -135.0})
            corners.push_back(DirectionAt(azimuth * degree, std::atan(z / std::numbers::sqrt2)));
    return corners;
}

// `count` speakers at an elevation, counter-clockwise from the azimuth `first`; all in degrees.
void AddRing(std::vector<Direction>& directions, int count, double first, double elevation) {
    for (int i = 0; i < count; ++i)
        directions.push_back(DirectionAt((first + 360.0 * i / count) * degree, elevation * degree));
}

std::vector<Direction> DomePoints() {
    std::vector<Direction> directions;
    AddRing(directions, 12, 0, 0);
    AddRing(directions, 8, 22.5, 30);
    AddRing(directions, 4, 45, 60);
    return directions;
}

std::vector<Direction> RingPoints() {
    std::vector<Direction> directions;
    AddRing(directions, 8, 22.5, 0);
    return directions;
}

bool TakesDedicatedSignalAlone(Role role) {
    return role == Role::FrontCentreDialogue || role == Role::BassManaged || role == Role::BassLFE;
}

}  // namespace

bool RoomSpeaker::IsDecoded() const {
    return type != SpeakerType::SubWoofer && !TakesDedicatedSignalAlone(role);
}

std::vector<std::size_t> SpeakerLayout::DecodedSpeakers() const {
    std::vector<std::size_t> decoded;
    for (std::size_t i = 0; i < speakers.size(); ++i)
        if (speakers[i].IsDecoded()) decoded.push_back(i);
    return decoded;
}

std::vector<std::size_t> SpeakerLayout::BassSpeakers() const {
    const auto isSmall = [](const RoomSpeaker& speaker) {
        return speaker.IsDecoded() && speaker.type == SpeakerType::Small;
    };
    if (std::ranges::none_of(speakers, isSmall)) return {};
    std::vector<std::size_t> bass;
    for (std::size_t i = 0; i < speakers.size(); ++i)
        if (speakers[i].role == Role::BassManaged) bass.push_back(i);
    return bass;
}

bool SpeakerLayout::IsFlat() const {
    double lowest = pi / 2, highest = -pi / 2;
    for (std::size_t i : DecodedSpeakers()) {
        const double elevation = std::asin(std::clamp(speakers[i].direction.z(), -1.0, 1.0));
        lowest = std::min(lowest, elevation);
        highest = std::max(highest, elevation);
    }
    return highest - lowest < tallest && std::max(highest, -lowest) < tallest;
}

bool SpeakerLayout::IsMeasured() const {
    return std::ranges::all_of(
        speakers, [](const RoomSpeaker& speaker) { return !speaker.IsDecoded() || speaker.hasDistance; });
}

double SpeakerLayout::ReferenceDistance() const {
    double furthest = 0;
    for (std::size_t i : DecodedSpeakers())
        furthest = std::max(furthest, speakers[i].distance);
    return furthest;
}

std::vector<SpeakerLayout> StandardLayouts() {
    std::vector<SpeakerLayout> layouts;
    for (const Room& room : Rooms())
        layouts.push_back(LayoutOf(room));
    return layouts;
}

std::vector<SpeakerLayout> SmallLayouts() {
    std::vector<SpeakerLayout> layouts = StandardLayouts();
    std::erase_if(layouts, [](const SpeakerLayout& layout) {
        return layout.family != StandardFormat::Surround51 && layout.family != StandardFormat::Surround71;
    });
    for (SpeakerLayout& layout : layouts) {
        layout.name += " (Small Speakers)";
        for (RoomSpeaker& speaker : layout.speakers) {
            const bool isBass = speaker.type == SpeakerType::SubWoofer;
            speaker.type = isBass ? SpeakerType::SubWoofer : SpeakerType::Small;
            if (isBass) speaker.role = Role::BassManaged;
        }
    }
    return layouts;
}

std::vector<SpeakerLayout> RegularLayouts() {
    return {RegularLayout("Hexagon", HorizonPoints(6).directions),
            RegularLayout("Octagon", HorizonPoints(8).directions), RegularLayout("Cube", CubeCorners())};
}

std::vector<SpeakerLayout> WideLayouts() {
    const std::vector<Place> sides{{"Side Left", 110, Role::SideLeft}, {"Side Right", -110, Role::SideRight}};
    const std::vector<Place> backsAndSides{{"Back Left", 135, Role::BackLeft},
                                           {"Back Right", -135, Role::BackRight},
                                           {"Side Left", 90, Role::SideLeft},
                                           {"Side Right", -90, Role::SideRight}};
    return {LayoutOf("Surround 5.1.2", FrontAnd(Joined(sides, Tops(30, 0)))),
            LayoutOf("Surround 5.1.4", FrontAnd(Joined(sides, Tops(30, 110)))),
            LayoutOf("Surround 7.1.4", FrontAnd(Joined(backsAndSides, Tops(45, 135)))),
            LayoutOf("Surround 22.2", TwentyTwoAndTwo()),
            RegularLayout("Octophonic Ring", RingPoints()),
            RegularLayout("Dome 24", DomePoints())};
}

orb3::spk::SpeakerSet MakeSpeakerSet(const SpeakerLayout& layout) {
    const double count =
        static_cast<double>(std::ranges::count_if(layout.speakers, [](const RoomSpeaker& speaker) {
            return !TakesDedicatedSignalAlone(speaker.role);
        }));
    const double scale = std::pow(count, -0.25) / layout.ReferenceDistance();
    orb3::spk::SpeakerSet set;
    if (layout.IsMeasured()) set.distance = layout.ReferenceDistance();
    for (const RoomSpeaker& speaker : layout.speakers) {
        const Direction place = speaker.direction * (speaker.distance * scale);
        set.speakers.push_back(
            {speaker.label, {place.x(), place.y(), place.z()}, speaker.type, speaker.role});
    }
    return set;
}

}  // namespace design
