#include "orb3core/settings/goalconfig.h"

#include "orb3core/settings/settingtable.h"
#include "slib/text.h"

namespace orb3 {

void GoalConfig::Read(const slib::SXMLNode& node) {
    node.CheckLabel("Tessarune");
    GoalConfig fresh;
    ReadSettings(node, fresh);
    *this = fresh;
}

// The two reverb fields are also written one by one, for people who read the document; only EffectsQuality is
// read back.
std::unique_ptr<slib::SXMLNode> GoalConfig::CreateNode() const {
    auto node = std::make_unique<slib::SXMLNode>();
    node->label = "Tessarune";
    WriteSettings(*this, *node);
    node->attributes["UseDirectionalEarlyReflections"] = slib::FormatBool(useDirectionalEarlyReflections);
    node->attributes["UseFullLateReflections"] = slib::FormatBool(useFullLateReflections);
    return node;
}

EffectsQuality GetEffectsQuality(const GoalConfig& config) {
    if (config.useDirectionalEarlyReflections) return EffectsQuality::High;
    return config.useFullLateReflections ? EffectsQuality::Medium : EffectsQuality::Low;
}

void SetEffectsQuality(GoalConfig& config, EffectsQuality quality) {
    config.useDirectionalEarlyReflections = quality == EffectsQuality::High;
    config.useFullLateReflections = quality != EffectsQuality::Low;
}

}  // namespace orb3
