#include "orb3core/library/conversion.h"

#include <algorithm>
#include <utility>

#include "slib/enumtexts.h"
#include "slib/exception.h"
#include "slib/text.h"

namespace orb3::fl {
namespace {

constexpr auto priorityTexts = slib::MakeEnumTexts<Priority>("Private", "Low", "Normal", "High");
constexpr auto priorityDescriptions = slib::MakeEnumTexts<Priority>(",private", ",low", "", ",high");

// The shortest text that reads back as the same number.
std::string FormatExactly(double value) {
    constexpr int mostDigits = 17;
    int digits = 6;
    while (digits < mostDigits && slib::ParseDouble(slib::FormatNumber(value, digits)) != value)
        ++digits;
    return slib::FormatNumber(value, digits);
}

void ReadChain(const slib::SXMLNode& node, Conversion& conversion) {
    for (const auto& child : node.children) {
        child->CheckLabel("Link");
        ConversionTag link;
        link.Read(*child);
        conversion.chain.append(std::move(link));
    }
    if (conversion.chain.size == 0) throw slib::BadDataException("Empty composite chain.");
    conversion.gain = slib::ParseFiniteDouble(node.GetAttribute("Gain"));
}

std::unique_ptr<slib::SXMLNode> CreateChainNode(const Conversion& conversion) {
    auto node = std::make_unique<slib::SXMLNode>();
    node->label = "CompositeChain";
    node->attributes["Gain"] = FormatExactly(conversion.gain);
    for (const ConversionTag& link : conversion.chain) {
        slib::SXMLNode& child = node->AddChild(std::make_unique<slib::SXMLNode>());
        child.label = "Link";
        link.SetAttributes(child);
    }
    return node;
}

std::string DescribeUpToMethod(const ConversionTag& tag) {
    return tag.from + "->" + tag.to + "(" + tag.method;
}

}  // namespace

void ConversionTag::Read(const slib::SXMLNode& node) {
    *this = ConversionTag{node.GetAttribute("FromFormat"), node.GetAttribute("ToFormat"),
                          node.GetAttribute("Method")};
}

void ConversionTag::SetAttributes(slib::SXMLNode& node) const {
    node.attributes["FromFormat"] = from;
    node.attributes["ToFormat"] = to;
    node.attributes["Method"] = method;
}

void Conversion::Read(const slib::SXMLNode& node) {
    node.CheckLabel("Conversion");
    Conversion fresh;
    fresh.ConversionTag::Read(node);
    if (node.HasAttribute("ExpertDecoder")) fresh.expertDecoder = node.GetAttribute("ExpertDecoder");
    fresh.priority = priorityTexts.Find(node.GetAttribute("Priority")).value_or(Priority::Low);
    fresh.lossy = slib::ParseBool(node.GetAttribute("InformationLoss"));
    const bool isComposite = std::any_of(node.children.begin(), node.children.end(),
                                         [](const auto& child) { return child->label == "CompositeChain"; });
    if (isComposite) ReadChain(node.GetChild("CompositeChain"), fresh);
    *this = std::move(fresh);
}

std::unique_ptr<slib::SXMLNode> Conversion::CreateNode() const {
    auto node = std::make_unique<slib::SXMLNode>();
    node->label = "Conversion";
    SetAttributes(*node);
    if (!expertDecoder.empty()) node->attributes["ExpertDecoder"] = expertDecoder;
    node->attributes["Priority"] = priorityTexts.TextOf(priority);
    node->attributes["InformationLoss"] = slib::FormatBool(lossy);
    if (chain.size != 0) node->AddChild(CreateChainNode(*this));
    return node;
}

void Conversion::validate() const {
    if (from.empty() || to.empty()) throw slib::BadDataException("A conversion has a blank format.");
    if (method.empty()) throw slib::BadDataException("A conversion has a blank method.");
    if (chain.size == 0) return;
    const std::string* reached = &from;
    bool isLinked = true;
    for (const ConversionTag& link : chain) {
        isLinked = isLinked && link.from == *reached;
        reached = &link.to;
    }
    if (!isLinked || *reached != to)
        throw slib::BadDataException("A format composite chain does not link up properly.");
}

std::string describe(const ConversionTag& tag) {
    return DescribeUpToMethod(tag) + ")";
}

std::string describe(const Conversion& conversion) {
    std::string text = DescribeUpToMethod(conversion);
    text += priorityDescriptions.TextOf(conversion.priority);
    if (conversion.lossy) text += ",lossy";
    if (conversion.chain.size != 0) text += ",composite";
    return text + ")";
}

}  // namespace orb3::fl
