#include "orb3core/speakers/layout.h"

#include <utility>

#include "slib/text.h"

namespace orb3::spk {
namespace {

void ReadChannelSetup(const slib::SXMLNode& node, Layout& layout) {
    layout.pipeFramework = node.GetAttribute("PipeFramework");
    layout.pipeDevice = node.GetAttribute("PipeDevice");
    layout.gain = slib::ParseFiniteFloat(node.GetAttribute("Gain"));
    for (const auto& child : node.children)
        if (child->label == "Channel") layout.channels.emplace_back().Read(*child);
}

std::unique_ptr<slib::SXMLNode> CreateSpeakerSetup(const Layout& layout) {
    auto node = layout.SpeakerSet::CreateNode();
    node->label = "SpeakerSetup";
    node->attributes["Format"] = layout.format;
    return node;
}

std::unique_ptr<slib::SXMLNode> CreateChannelSetup(const Layout& layout) {
    auto node = std::make_unique<slib::SXMLNode>();
    node->label = "ChannelSetup";
    node->attributes = {{"PipeFramework", layout.pipeFramework},
                        {"PipeDevice", layout.pipeDevice},
                        {"Gain", slib::FormatNumber(static_cast<double>(layout.gain))}};
    for (const Channel& channel : layout.channels)
        node->AddChild(channel.CreateNode());
    return node;
}

}  // namespace

void Layout::Read(const slib::SXMLNode& node) {
    node.CheckLabel("Layout");
    Layout fresh;
    fresh.method = node.GetAttribute("Method");
    const slib::SXMLNode& speakerSetup = node.GetChild("SpeakerSetup");
    fresh.format = speakerSetup.GetAttribute("Format");
    fresh.SpeakerSet::Read(speakerSetup, false);
    ReadChannelSetup(node.GetChild("ChannelSetup"), fresh);
    *this = std::move(fresh);
}

std::unique_ptr<slib::SXMLNode> Layout::CreateNode() const {
    auto node = std::make_unique<slib::SXMLNode>();
    node->label = "Layout";
    node->attributes["Method"] = method;
    node->AddChild(CreateSpeakerSetup(*this));
    node->AddChild(CreateChannelSetup(*this));
    return node;
}

}  // namespace orb3::spk
