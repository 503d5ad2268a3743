#include "tools/manage/documentparts.h"

#include <memory>
#include <set>

#include "orb3core/settings/settingtable.h"
#include "slib/sxml.h"

namespace tool {
namespace {

using orb3::Configuration;
using orb3::Setting;
using slib::SXMLNode;

constexpr const char* selection = "the selection of the layout";
constexpr const char* arrangements = "the arrangements of channels";

bool IsInDocument(const Setting& setting) {
    return setting.GetPlace() != Setting::Place::Platform;
}

std::string LayoutPart(const std::string& format) {
    return "the layout '" + format + "'";
}

std::string TextOf(const SXMLNode& node) {
    return node.ToString(SXMLNode::Style::Compact);
}

std::string ValueOf(const DocumentParts& parts, const std::string& name) {
    const auto found = parts.find(name);
    return found == parts.end() ? "" : found->second;
}

// All of one name, as there may be several.
void SetLayouts(Configuration& configuration, const std::string& part, const std::string& text) {
    std::erase_if(configuration.layouts,
                  [&](const Configuration::LayoutPtr& layout) { return LayoutPart(layout->format) == part; });
    if (text.empty()) return;
    const SXMLNode node(text);
    for (const auto& child : node.children) {
        const Configuration::LayoutPtr layout(new orb3::spk::Layout);
        layout->Read(*child);
        configuration.layouts.push_back(layout);
    }
}

void SetPart(Configuration& configuration, const std::string& part, const std::string& text) {
    for (const Setting& setting : orb3::Settings())
        if (IsInDocument(setting) && setting.Name() == part)
            return orb3::TakeSetting(setting, text, configuration);
    if (part == selection)
        configuration.selectedName = text;
    else if (part == arrangements)
        configuration.arraySet.Read(SXMLNode(text));
    else
        SetLayouts(configuration, part, text);
}

}  // namespace

DocumentParts PartsOf(const Configuration& configuration) {
    DocumentParts parts{{selection, configuration.selectedName},
                        {arrangements, TextOf(*configuration.arraySet.CreateNode())}};
    for (const Setting& setting : orb3::Settings())
        if (IsInDocument(setting)) parts[setting.Name()] = orb3::SettingText(setting, configuration);
    std::map<std::string, SXMLNode> layouts;
    for (const Configuration::LayoutPtr& layout : configuration.layouts) {
        SXMLNode& node = layouts[LayoutPart(layout->format)];
        node.label = "Layouts";
        node.AddChild(layout->CreateNode());
    }
    for (const auto& [part, node] : layouts)
        parts[part] = TextOf(node);
    return parts;
}

std::vector<std::string> MoveParts(const DocumentParts& from, const DocumentParts& to,
                                   Configuration& current) {
    std::set<std::string> names;
    for (const DocumentParts& parts : {from, to})
        for (const auto& [name, text] : parts)
            names.insert(name);
    const DocumentParts now = PartsOf(current);
    std::vector<std::string> kept;
    for (const std::string& name : names) {
        const std::string old = ValueOf(from, name), fresh = ValueOf(to, name);
        if (old == fresh) continue;
        if (ValueOf(now, name) == old)
            SetPart(current, name, fresh);
        else if (ValueOf(now, name) != fresh)
            kept.push_back(name);
    }
    return kept;
}

}  // namespace tool
