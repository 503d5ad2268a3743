#include "orb3core/settings/audiorendererconfig.h"

#include "orb3core/settings/settingtable.h"

namespace orb3 {

void AudioRendererConfig::Read(const slib::SXMLNode& node) {
    node.CheckLabel("AudioRenderer");
    AudioRendererConfig fresh;
    ReadSettings(node, fresh);
    *this = fresh;
}

std::unique_ptr<slib::SXMLNode> AudioRendererConfig::CreateNode() const {
    auto node = std::make_unique<slib::SXMLNode>();
    node->label = "AudioRenderer";
    WriteSettings(*this, *node);
    return node;
}

}  // namespace orb3
