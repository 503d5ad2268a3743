#include "orb3core/speakers/speakers.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <optional>
#include <utility>

#include "slib/exception.h"
#include "slib/text.h"

namespace orb3::spk {
namespace {

// Both are indexed by the value of the enumeration.
constexpr std::array<std::string_view, 12> roleTexts{
    "Unknown",     "FrontLeft", "FrontRight", "FrontCentre", "FrontCentreDialogue",
    "BassManaged", "BassLFE",   "BackLeft",   "BackRight",   "BackCentre",
    "SideLeft",    "SideRight"};
constexpr std::array<std::string_view, 3> typeTexts{"Normal", "Small", "Sub-Woofer"};

template <typename Enum, std::size_t Count>
std::optional<Enum> FindIgnoringCase(const std::array<std::string_view, Count>& texts,
                                     std::string_view text) {
    const std::string lower = slib::toLower(text);
    for (std::size_t i = 0; i < Count; ++i)
        if (slib::toLower(texts[i]) == lower) return static_cast<Enum>(i);
    return std::nullopt;
}

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
    const auto index = static_cast<std::size_t>(role);
    if (index >= roleTexts.size()) slib::ThrowUnreachable();
    return std::string(roleTexts[index]);
}

std::string GetSpeakerTypeText(SpeakerType type) {
    const auto index = static_cast<std::size_t>(type);
    if (index >= typeTexts.size()) slib::ThrowUnreachable();
    return std::string(typeTexts[index]);
}

Role ParseRole(std::string_view text) {
    if (const auto role = FindIgnoringCase<Role>(roleTexts, text)) return *role;
    throw slib::BadDataException("Unknown channel name '" + std::string(text) + "'.");
}

SpeakerType ParseSpeakerType(std::string_view text) {
    if (const auto type = FindIgnoringCase<SpeakerType>(typeTexts, text)) return *type;
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

void SpeakerSet::Read(const slib::SXMLNode& node, bool checkLabel) {
    if (checkLabel) node.CheckLabel("SpeakerSet");
    SpeakerSet fresh;
    for (const auto& child : node.children)
        if (child->label == "Speaker") fresh.speakers.emplace_back().Read(*child);
    fresh.discardDistance = slib::ParseBool(node.GetAttribute("DiscardDistance"));
    if (node.HasAttribute("AudienceArrangement"))
        fresh.audienceArrangement = ParseAudienceArrangement(node.GetAttribute("AudienceArrangement"));
    if (node.HasAttribute("Scale"))
        ScaleLocations(fresh.speakers, slib::ParseFiniteDouble(node.GetAttribute("Scale")));
    *this = std::move(fresh);
}

std::unique_ptr<slib::SXMLNode> SpeakerSet::CreateNode() const {
    auto node = std::make_unique<slib::SXMLNode>();
    node->label = "SpeakerSet";
    node->attributes = {{"DiscardDistance", slib::FormatBool(discardDistance)},
                        {"AudienceArrangement", GetAudienceArrangementText(audienceArrangement)}};
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
