#include "orb3core/settings/configuration.h"

#include <algorithm>
#include <utility>

#include "orb3core/settings/settingtable.h"

namespace orb3 {

Configuration::Configuration() {
    arraySet.Reset();
}

Configuration::Configuration(const Configuration& other)
    : useDirectSoundAutoselect(other.useDirectSoundAutoselect),
      selectedName(other.selectedName),
      goalConfig(other.goalConfig),
      audioRendererConfig(other.audioRendererConfig),
      arraySet(other.arraySet) {
    layouts.reserve(other.layouts.size());
    for (const LayoutPtr& layout : other.layouts)
        layouts.push_back(LayoutPtr(new spk::Layout(*layout)));
}

Configuration& Configuration::operator=(Configuration other) noexcept {
    layouts.swap(other.layouts);
    useDirectSoundAutoselect = other.useDirectSoundAutoselect;
    selectedName.swap(other.selectedName);
    goalConfig = other.goalConfig;
    audioRendererConfig = other.audioRendererConfig;
    arraySet.arrays.swap(other.arraySet.arrays);
    return *this;
}

bool Configuration::operator==(const Configuration& other) const {
    const auto sameLayout = [](const LayoutPtr& a, const LayoutPtr& b) { return *a == *b; };
    return selectedName == other.selectedName && useDirectSoundAutoselect == other.useDirectSoundAutoselect &&
           goalConfig == other.goalConfig && audioRendererConfig == other.audioRendererConfig &&
           arraySet == other.arraySet &&
           std::equal(layouts.begin(), layouts.end(), other.layouts.begin(), other.layouts.end(), sameLayout);
}

void Configuration::Read(const slib::SXMLNode& node) {
    node.CheckLabel("Configuration");
    Configuration fresh;
    fresh.selectedName = node.GetAttribute("SelectedName");
    ReadSettings(node, fresh);
    for (const auto& child : node.children) {
        if (child->label != "Layout") continue;
        const LayoutPtr layout(new spk::Layout);
        layout->Read(*child);
        fresh.layouts.push_back(layout);
    }
    fresh.goalConfig.Read(node.GetChild("Tessarune"));
    fresh.audioRendererConfig.Read(node.GetChild("AudioRenderer"));
    fresh.arraySet.Read(node.GetChild("ArraySet"));
    *this = std::move(fresh);
}

std::unique_ptr<slib::SXMLNode> Configuration::CreateNode() const {
    auto node = std::make_unique<slib::SXMLNode>();
    node->label = "Configuration";
    node->attributes["SelectedName"] = selectedName;
    WriteSettings(*this, *node);
    for (const LayoutPtr& layout : layouts)
        node->AddChild(layout->CreateNode());
    node->AddChild(goalConfig.CreateNode());
    node->AddChild(audioRendererConfig.CreateNode());
    node->AddChild(arraySet.CreateNode());
    return node;
}

void Configuration::Reset() {
    *this = Configuration();
}

}  // namespace orb3
