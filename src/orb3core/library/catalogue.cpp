#include "orb3core/library/catalogue.h"

#include <algorithm>
#include <charconv>
#include <system_error>
#include <utility>

#include "slib/exception.h"

namespace orb3::fl {
namespace {

// All of `text` as a decimal number from `least` up.
template <typename Number>
Number ParseNumber(const std::string& text, Number least, const char* what) {
    Number value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end || value < least)
        throw slib::BadDataException(std::string("Invalid ") + what + " '" + text + "'.");
    return value;
}

template <typename List, typename Predicate>
std::optional<std::uint32_t> Find(const List& list, const Predicate& isWanted) {
    const auto found = std::find_if(list.begin(), list.end(), isWanted);
    if (found == list.end()) return std::nullopt;
    return static_cast<std::uint32_t>(found - list.begin());
}

template <typename Stored>
void ReadTransforms(const slib::SXMLNode& node, std::map<int, Stored>& transforms) {
    for (const auto& child : node.children) {
        child->CheckLabel("Transform");
        const int rate = ParseNumber(child->GetAttribute("SampleRate"), 1, "sample rate");
        transforms[rate].Read(*child);
    }
}

template <typename Stored>
ConversionData<Stored> ReadConversion(const slib::SXMLNode& node) {
    ConversionData<Stored> conversion;
    conversion.Read(node);
    const bool hasTransforms = std::any_of(node.children.begin(), node.children.end(),
                                           [](const auto& child) { return child->label == "TransformSet"; });
    if (hasTransforms) ReadTransforms(node.GetChild("TransformSet"), conversion.transforms);
    return conversion;
}

template <typename Stored>
std::unique_ptr<slib::SXMLNode> CreateConversionNode(const ConversionData<Stored>& conversion,
                                                     bool withGenerated) {
    auto node = conversion.CreateNode();
    slib::SXMLNode& set = node->AddChild(std::make_unique<slib::SXMLNode>());
    set.label = "TransformSet";
    for (const auto& [rate, stored] : conversion.transforms) {
        if (stored.status.generated && !withGenerated) continue;
        slib::SXMLNode& child = set.AddChild(std::make_unique<slib::SXMLNode>());
        child.label = "Transform";
        child.attributes["SampleRate"] = std::to_string(rate);
        stored.SetAttributes(child);
    }
    return node;
}

}  // namespace

void FiledTransform::Read(const slib::SXMLNode& node) {
    FiledTransform fresh;
    fresh.status.Read(node);
    fresh.storageKey = node.GetAttribute("StorageKey");
    *this = std::move(fresh);
}

void FiledTransform::SetAttributes(slib::SXMLNode& node) const {
    status.SetAttributes(node);
    node.attributes["StorageKey"] = storageKey;
}

void EmbeddedTransform::Read(const slib::SXMLNode& node) {
    EmbeddedTransform fresh;
    fresh.status.Read(node);
    fresh.coreOffset = ParseNumber(node.GetAttribute("CoreOffset"), std::uint32_t{0}, "transform offset");
    *this = fresh;
}

void EmbeddedTransform::SetAttributes(slib::SXMLNode& node) const {
    status.SetAttributes(node);
    node.attributes["CoreOffset"] = std::to_string(coreOffset);
}

template <typename Stored>
std::optional<std::uint32_t> Catalogue<Stored>::FindFormat(std::string_view key) const {
    return Find(formats, [key](const Format& format) { return format.tag == key; });
}

template <typename Stored>
std::optional<std::uint32_t> Catalogue<Stored>::FindFormat(std::int32_t quillFormat) const {
    return Find(formats, [quillFormat](const Format& format) { return format.quillFormat == quillFormat; });
}

template <typename Stored>
std::optional<std::uint32_t> Catalogue<Stored>::FindMethod(std::string_view key) const {
    return Find(methods, [key](const Method& method) { return method.tag == key; });
}

template <typename Stored>
std::optional<std::uint32_t> Catalogue<Stored>::FindConversion(const ConversionTag& key) const {
    return Find(conversions, [&key](const ConversionTag& conversion) { return conversion == key; });
}

template <typename Stored>
void Catalogue<Stored>::Read(const slib::SXMLNode& node, std::string_view label,
                             const aspace::AcousticFactory& factory) {
    node.CheckLabel(label);
    Catalogue fresh;
    if (node.HasAttribute("Tag")) fresh.tag = node.GetAttribute("Tag");
    for (const auto& child : node.children) {
        if (child->label == "Format") {
            Format format;
            format.Read(*child, factory);
            fresh.formats.append(std::move(format));
        } else if (child->label == "Method") {
            Method method;
            method.Read(*child);
            fresh.methods.append(std::move(method));
        } else if (child->label == "Conversion") {
            fresh.conversions.append(ReadConversion<Stored>(*child));
        } else {
            throw slib::BadXMLException("Unidentified format librarian configuration data was found ('" +
                                        child->label + "').");
        }
    }
    *this = std::move(fresh);
}

template <typename Stored>
std::unique_ptr<slib::SXMLNode> Catalogue<Stored>::CreateNode(std::string_view label,
                                                              bool withGenerated) const {
    auto node = std::make_unique<slib::SXMLNode>();
    node->label = label;
    node->attributes["Tag"] = tag;
    for (const Format& format : formats)
        node->AddChild(format.CreateNode());
    for (const Method& method : methods)
        node->AddChild(method.CreateNode());
    for (const ConversionData<Stored>& conversion : conversions)
        node->AddChild(CreateConversionNode(conversion, withGenerated));
    return node;
}

template struct Catalogue<FiledTransform>;
template struct Catalogue<EmbeddedTransform>;

}  // namespace orb3::fl
