#include "orb3core/library/format.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>
#include <system_error>
#include <utility>

#include "slib/exception.h"
#include "slib/text.h"

namespace orb3::fl {
namespace {

bool HasChild(const slib::SXMLNode& node, std::string_view label) {
    return std::any_of(node.children.begin(), node.children.end(),
                       [label](const auto& child) { return child->label == label; });
}

// Identifiers of the upper half are negative numbers.
std::int32_t ParseQuillFormat(const std::string& text) {
    std::string_view digits = text;
    if (digits.starts_with("0x") || digits.starts_with("0X")) digits.remove_prefix(2);
    std::uint32_t value = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
    if (result.ec != std::errc() || result.ptr != digits.data() + digits.size())
        throw slib::BadDataException("Invalid QUILL format ID '" + text + "'.");
    return static_cast<std::int32_t>(value);
}

std::string FormatQuillFormat(std::int32_t value) {
    std::array<char, 8> digits{};
    const auto result =
        std::to_chars(digits.data(), digits.data() + digits.size(), static_cast<std::uint32_t>(value), 16);
    return slib::toUpper(
        std::string_view(digits.data(), static_cast<std::size_t>(result.ptr - digits.data())));
}

std::uint32_t ParseChannelCount(const std::string& text) {
    const int count = slib::ParseInt(text);
    if (count < 0) throw slib::BadDataException("Invalid channel count '" + text + "'.");
    return static_cast<std::uint32_t>(count);
}

}  // namespace

void Format::Read(const slib::SXMLNode& node, const aspace::AcousticFactory& factory) {
    node.CheckLabel("Format");
    Format fresh;
    fresh.tag = node.GetAttribute("Tag");
    fresh.name = node.GetAttribute("Name");
    fresh.family = slib::ParseStandardFormat(node.GetAttribute("FormatFamily"));
    if (node.HasAttribute("QUILLFormat"))
        fresh.quillFormat = ParseQuillFormat(node.GetAttribute("QUILLFormat"));
    fresh.channelCount = ParseChannelCount(node.GetAttribute("ChannelCount"));
    fresh.isLayout = slib::ParseBool(node.GetAttribute("IsLayout"));
    fresh.isPreset = slib::ParseBool(node.GetAttribute("IsPreset"));
    if (HasChild(node, "Acoustic")) {
        const slib::SXMLNode& acoustics = node.GetChild("Acoustic");
        acoustics.CheckChildCount(1);
        fresh.acoustic = decltype(acoustic)(factory.createAcoustic(*acoustics.children[0]).release());
    }
    if (HasChild(node, "SpeakerSet")) {
        fresh.speakers = decltype(speakers)(new spk::SpeakerSet);
        fresh.speakers->Read(node.GetChild("SpeakerSet"), true);
    }
    *this = std::move(fresh);
}

std::unique_ptr<slib::SXMLNode> Format::CreateNode() const {
    auto node = std::make_unique<slib::SXMLNode>();
    node->label = "Format";
    node->attributes = {{"Tag", tag},
                        {"Name", name},
                        {"FormatFamily", slib::GetStandardFormatName(family)},
                        {"ChannelCount", std::to_string(channelCount)},
                        {"IsLayout", slib::FormatBool(isLayout)},
                        {"IsPreset", slib::FormatBool(isPreset)}};
    if (quillFormat != 0) node->attributes["QUILLFormat"] = FormatQuillFormat(quillFormat);
    if (acoustic) {
        slib::SXMLNode& acoustics = node->AddChild(std::make_unique<slib::SXMLNode>());
        acoustics.label = "Acoustic";
        acoustics.AddChild(acoustic->createNode());
    }
    if (speakers) node->AddChild(speakers->CreateNode());
    return node;
}

}  // namespace orb3::fl
