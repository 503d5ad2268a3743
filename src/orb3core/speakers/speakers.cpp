#include "orb3core/speakers/speakers.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "slib/enumtexts.h"
#include "slib/exception.h"
#include "slib/text.h"

namespace orb3::spk {
namespace {

constexpr auto roleTexts = slib::MakeEnumTexts<Role>(
    "Unknown", "FrontLeft", "FrontRight", "FrontCentre", "FrontCentreDialogue", "BassManaged", "BassLFE",
    "BackLeft", "BackRight", "BackCentre", "SideLeft", "SideRight");
constexpr auto typeTexts = slib::MakeEnumTexts<SpeakerType>("Normal", "Small", "Sub-Woofer");

double Scaled(double coordinate, double scale) {
    constexpr double limit = std::numeric_limits<double>::max();
    return std::clamp(coordinate * scale, -limit, limit);
}

void ScaleLocations(std::vector<Speaker>& speakers, double scale) {
    for (Speaker& speaker : speakers) {
        Location& location = speaker.location;
        location = {Scaled(location.x, scale), Scaled(location.y, scale), Scaled(location.z, scale)};
    }
}

}  // namespace

std::string GetRoleText(Role role) {
    return roleTexts.TextOf(role);
}

std::string GetSpeakerTypeText(SpeakerType type) {
    return typeTexts.TextOf(type);
}

Role ParseRole(std::string_view text) {
    if (const auto role = roleTexts.FindIgnoringCase(text)) return *role;
    throw slib::BadDataException("Unknown channel name '" + std::string(text) + "'.");
}

SpeakerType ParseSpeakerType(std::string_view text) {
    if (const auto type = typeTexts.FindIgnoringCase(text)) return *type;
    throw slib::BadDataException("Unknown speaker type '" + std::string(text) + "'.");
}

bool Speaker::operator==(const Speaker& other) const {
    return label == other.label && location == other.location && type == other.type;
}

void Speaker::Read(const slib::SXMLNode& node) {
    node.CheckLabel("Speaker");
    Speaker fresh;
    fresh.label = node.GetAttribute("Label");
    fresh.location = ReadLocation(node.GetChild("Location"));
    fresh.type = ParseSpeakerType(node.GetAttribute("Type"));
    if (node.HasAttribute("Role")) fresh.role = ParseRole(node.GetAttribute("Role"));
    *this = std::move(fresh);
}

std::unique_ptr<slib::SXMLNode> Speaker::CreateNode() const {
    auto node = std::make_unique<slib::SXMLNode>();
    node->label = "Speaker";
    node->attributes = {{"Label", label}, {"Type", GetSpeakerTypeText(type)}};
    if (role != Role::Unknown) node->attributes["Role"] = GetRoleText(role);
    slib::SXMLNode& place = node->AddChild(std::make_unique<slib::SXMLNode>());
    place.label = "Location";
    WriteLocation(location, place);
    return node;
}

void Speaker::Validate() const {
    const bool isBass = role == Role::BassManaged || role == Role::BassLFE;
    const bool isSubWoofer = type == SpeakerType::SubWoofer;
    if (isBass && !isSubWoofer) throw slib::BadDataException("Bass channels should be sent to sub-woofers.");
    if (isSubWoofer && !isBass)
        throw slib::BadDataException(
            "Subwoofers should be indicated as 'Bass (LFE Only)' or 'Bass (Managed)'.");
}

bool SpeakerSet::operator==(const SpeakerSet& other) const {
    return speakers == other.speakers && discardDistance == other.discardDistance &&
           audienceArrangement == other.audienceArrangement;
}

void SpeakerSet::Read(const slib::SXMLNode& node, bool checkLabel) {
    if (checkLabel) node.CheckLabel("SpeakerSet");
    SpeakerSet fresh;
    for (const auto& child : node.children)
        if (child->label == "Speaker") fresh.speakers.emplace_back().Read(*child);
    fresh.discardDistance = slib::ParseBool(node.GetAttribute("DiscardDistance"));
    if (node.HasAttribute("AudienceArrangement"))
        fresh.audienceArrangement = ParseAudienceArrangement(node.GetAttribute("AudienceArrangement"));
    if (node.HasAttribute("Distance"))
        fresh.distance = std::max(0.0, slib::ParseFiniteDouble(node.GetAttribute("Distance")));
    if (node.HasAttribute("Scale"))
        ScaleLocations(fresh.speakers, slib::ParseFiniteDouble(node.GetAttribute("Scale")));
    *this = std::move(fresh);
}

std::unique_ptr<slib::SXMLNode> SpeakerSet::CreateNode() const {
    auto node = std::make_unique<slib::SXMLNode>();
    node->label = "SpeakerSet";
    node->attributes = {{"DiscardDistance", slib::FormatBool(discardDistance)},
                        {"AudienceArrangement", GetAudienceArrangementText(audienceArrangement)}};
    if (distance > 0) node->attributes["Distance"] = slib::FormatNumber(distance);
    for (const Speaker& speaker : speakers)
        node->AddChild(speaker.CreateNode());
    return node;
}

void Channel::Read(const slib::SXMLNode& node) {
    node.CheckLabel("Channel");
    Channel fresh;
    fresh.pipePlaybackChannel = node.GetAttribute("PipePlaybackChannel");
    fresh.gain = slib::ParseFiniteDouble(node.GetAttribute("Gain"));
    *this = std::move(fresh);
}

std::unique_ptr<slib::SXMLNode> Channel::CreateNode() const {
    auto node = std::make_unique<slib::SXMLNode>();
    node->label = "Channel";
    node->attributes = {{"PipePlaybackChannel", pipePlaybackChannel}, {"Gain", slib::FormatNumber(gain)}};
    return node;
}

}  // namespace orb3::spk
