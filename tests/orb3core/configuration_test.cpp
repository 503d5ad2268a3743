#include "orb3core/configuration.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

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

TEST(ConfigurationNode, Children_StandInTheirOrder) {
    const auto node = WithLayout().CreateNode();
    EXPECT_EQ(node->attributes.at("SelectedName"), "Stereo");
    EXPECT_EQ(node->attributes.at("UseDirectSoundAutoselect"), "True");
    ASSERT_NO_THROW(node->CheckChildCount(4));
    EXPECT_EQ(node->children[0]->ToString(Style::Compact), layoutText);
    EXPECT_EQ(node->children[1]->label, "Tessarune");
    EXPECT_EQ(node->children[2]->label, "AudioRenderer");
    EXPECT_EQ(node->children[3]->label, "ArraySet");
}

TEST(ConfigurationNode, ReadBack_IsEqual) {
    for (const Configuration& original : {Configuration(), WithLayout()}) {
        Configuration copy = WithLayout();
        copy.Read(SXMLNode(original.CreateNode()->ToString(Style::Spread)));
        EXPECT_TRUE(copy == original);
    }
}

struct Damage {
    const char* name;
    std::function<void(SXMLNode&)> apply;
};

class Damaged : public testing::TestWithParam<Damage> {};

TEST_P(Damaged, Document_FailsAndLosesNothing) {
    const auto node = WithLayout().CreateNode();
    node->attributes["SelectedName"] = "Other";
    GetParam().apply(*node);
    Configuration configuration = WithLayout();
    EXPECT_THROW(configuration.Read(*node), slib::BadDataException);
    EXPECT_TRUE(configuration == WithLayout());
}

INSTANTIATE_TEST_SUITE_P(
    Damages, Damaged,
    testing::Values(Damage{"label", [](SXMLNode& n) { n.label = "Config"; }},
                    Damage{"selection", [](SXMLNode& n) { n.attributes.erase("SelectedName"); }},
                    Damage{"bool", [](SXMLNode& n) { n.attributes["UseDirectSoundAutoselect"] = "1"; }},
                    Damage{"arrays", [](SXMLNode& n) { n.children.pop_back(); }},
                    Damage{"array", [](SXMLNode& n) { n.children.back()->children.pop_back(); }},
                    Damage{"twice", [](SXMLNode& n) { n.children[2]->label = "Tessarune"; }},
                    Damage{"method", [](SXMLNode& n) { n.children[0]->attributes.clear(); }},
                    Damage{"setup", [](SXMLNode& n) { n.children[0]->children.pop_back(); }},
                    Damage{"format",
                           [](SXMLNode& n) { n.children[0]->children[0]->attributes.erase("Format"); }}),
    [](const auto& test) { return test.param.name; });

TEST(ConfigurationCopy, Layouts_AreNewObjects) {
    const Configuration original = WithLayout();
    Configuration copy = original;
    EXPECT_TRUE(copy == original);
    copy.layouts[0]->pipeDevice = "Headphones";
    EXPECT_EQ(original.layouts[0]->pipeDevice, "Speakers & co");
    EXPECT_FALSE(copy == original);
}

TEST(Configurations, DifferingInAnyLayoutField_AreUnequal) {
    using Change = std::function<void(orb3::spk::Layout&)>;
    const Change changes[] = {
        [](auto& l) { l.format = "Quad"; },    [](auto& l) { l.channels[0].gain = 0.75; },
        [](auto& l) { l.pipeFramework = ""; }, [](auto& l) { l.gain = 1.0f; },
        [](auto& l) { l.method = ""; },        [](auto& l) { l.discardDistance = false; },
        [](auto& l) { l.speakers.clear(); }};
    for (const Change& change : changes) {
        Configuration changed = WithLayout();
        change(*changed.layouts[0]);
        EXPECT_FALSE(changed == WithLayout());
    }
    EXPECT_FALSE(Configuration() == WithLayout());
}

TEST(ConfigurationReset, GivesTheDefaults) {
    Configuration configuration = WithLayout();
    configuration.useDirectSoundAutoselect = false;
    configuration.goalConfig.order = 1;
    configuration.arraySet.arrays.clear();
    configuration.Reset();
    EXPECT_TRUE(configuration.layouts.empty());
    EXPECT_TRUE(configuration.useDirectSoundAutoselect);
    EXPECT_EQ(configuration.selectedName, "");
    EXPECT_EQ(configuration.goalConfig.order, 3);
    EXPECT_EQ(configuration.arraySet.arrays.size(), 8u);
}

}  // namespace
