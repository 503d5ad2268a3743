#include "orb3core/settings/configuration.h"

#include <gtest/gtest.h>

#include "slib/exception.h"

namespace {

using orb3::Configuration;
using slib::SXMLNode;
using Style = SXMLNode::Style;

const char* const layoutText =
    R"(<Layout Method="rig">)"
    R"(<SpeakerSetup AudienceArrangement="Upright" DiscardDistance="True" Format="Stereo">)"
    R"(<Speaker Label="L" Role="FrontLeft" Type="Normal"><Location X="1" Y="1" Z="0"/></Speaker>)"
    R"(</SpeakerSetup>)"
    R"(<ChannelSetup Gain="0.25" PipeDevice="Speakers &amp; co" PipeFramework="DirectSound">)"
    R"(<Channel Gain="0.5" PipePlaybackChannel="Left"/></ChannelSetup></Layout>)";

Configuration WithLayout() {
    Configuration configuration;
    configuration.layouts.emplace_back(new orb3::spk::Layout);
    configuration.layouts[0]->Read(SXMLNode(layoutText));
    configuration.selectedName = "Stereo";
    return configuration;
}

TEST(ConfigurationNode, HasItsChildrenInOrderAndReadsBackEqual) {
    const auto node = WithLayout().CreateNode();
    EXPECT_EQ(node->attributes.at("SelectedName"), "Stereo");
    EXPECT_EQ(node->attributes.at("UseDirectSoundAutoselect"), "True");
    EXPECT_EQ(node->children[0]->ToString(Style::Compact), layoutText);
    EXPECT_EQ(node->children[1]->label, "Tessarune");
    EXPECT_EQ(node->children[2]->label, "AudioRenderer");
    EXPECT_EQ(node->children[3]->label, "ArraySet");
    for (const Configuration& original : {Configuration(), WithLayout()}) {
        Configuration copy = WithLayout();
        copy.Read(SXMLNode(original.CreateNode()->ToString(Style::Spread)));
        EXPECT_TRUE(copy == original);
    }
}

TEST(ConfigurationNode, Damaged_FailsAndLosesNothing) {
    void (*const damages[])(SXMLNode&) = {
        [](SXMLNode& n) { n.label = "Config"; }, [](SXMLNode& n) { n.attributes.erase("SelectedName"); },
        [](SXMLNode& n) { n.children.back()->children.pop_back(); },
        [](SXMLNode& n) { n.children[0]->children.pop_back(); },
        [](SXMLNode& n) { n.children[0]->children[0]->attributes.erase("Format"); }};
    for (const auto damage : damages) {
        const auto node = WithLayout().CreateNode();
        node->attributes["SelectedName"] = "Other";
        damage(*node);
        Configuration configuration = WithLayout();
        EXPECT_THROW(configuration.Read(*node), slib::BadDataException);
        EXPECT_TRUE(configuration == WithLayout());
    }
}

TEST(Configurations, Copied_HaveLayoutsOfTheirOwn) {
    const Configuration original = WithLayout();
    Configuration copy = original;
    copy.layouts[0]->channels[0].gain = 0.75;
    EXPECT_TRUE(original == WithLayout() && !(copy == original));
}

}  // namespace
