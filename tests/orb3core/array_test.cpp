#include "orb3core/array.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>
#include <vector>

#include "slib/exception.h"

namespace {

using orb3::array::Array;
using orb3::array::ArraySet;
using slib::SXMLNode;
using Style = SXMLNode::Style;

ArraySet Defaults() {
    ArraySet set;
    set.Reset();
    return set;
}

struct Expected {
    int type;
    const char* name;
    std::vector<std::pair<const char*, double>> channels;  // azimuth in degrees; origin: at the listener
};

constexpr double origin = 1000;

class DefaultArrays : public testing::TestWithParam<Expected> {};

TEST_P(DefaultArrays, EachType_HasItsChannelsOnTheUnitCircle) {
    const ArraySet set = Defaults();
    const Array& array = set.GetArray(GetParam().type);
    EXPECT_EQ(array.name, GetParam().name);
    ASSERT_EQ(array.channels.size(), GetParam().channels.size());
    for (std::size_t i = 0; i < array.channels.size(); ++i) {
        const auto& [name, azimuth] = GetParam().channels[i];
        const double length = azimuth == origin ? 0.0 : 1.0;
        EXPECT_EQ(array.channels[i].name, name);
        EXPECT_NEAR(array.channels[i].location.x, length * std::cos(azimuth * std::numbers::pi / 180), 1e-10);
        EXPECT_NEAR(array.channels[i].location.y, length * std::sin(azimuth * std::numbers::pi / 180), 1e-10);
        EXPECT_EQ(array.channels[i].location.z, 0.0);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Types, DefaultArrays,
    testing::Values(
        Expected{3, "Mono", {{"Audio", origin}}}, Expected{4, "Front", {{"Front", 0}}},
        Expected{5, "Stereo", {{"Left", 30}, {"Right", -30}}},
        Expected{6,
                 "5.1",
                 {{"Front Left", 30},
                  {"Front Right", -30},
                  {"Front Centre", 0},
                  {"Bass", origin},
                  {"Side Left", 110},
                  {"Side Right", -110}}},
        Expected{7,
                 "6.1",
                 {{"Front Left", 30},
                  {"Front Right", -30},
                  {"Front Centre", 0},
                  {"Bass", origin},
                  {"Side Left", 110},
                  {"Side Right", -110},
                  {"Back Centre", 180}}},
        Expected{8,
                 "7.1",
                 {{"Front Left", 30},
                  {"Front Right", -30},
                  {"Front Centre", 0},
                  {"Bass", origin},
                  {"Back Left", 150},
                  {"Back Right", -150},
                  {"Side Left", 90},
                  {"Side Right", -90}}},
        Expected{
            9, "Quad", {{"Front Left", 45}, {"Front Right", -45}, {"Back Left", 135}, {"Back Right", -135}}},
        Expected{10, "Rear", {{"Back Left", 135}, {"Back Right", -135}}}));

// Reads the default document with the child for which `select` holds changed, and returns the failure.
template <typename Change>
std::string FailureAfter(Change change) {
    const auto node = Defaults().CreateNode();
    change(*node);
    ArraySet set;
    try {
        set.Read(*node);
    } catch (const slib::BadDataException& failure) {
        EXPECT_TRUE(set.arrays.empty());
        return failure.what();
    }
    return "read";
}

std::size_t IndexOf(const SXMLNode& node, const std::string& name) {
    const auto found = std::find_if(node.children.begin(), node.children.end(),
                                    [&](const auto& child) { return child->GetAttribute("Name") == name; });
    return static_cast<std::size_t>(found - node.children.begin());
}

std::unique_ptr<SXMLNode> ArrayNode(const std::string& name, int channelCount) {
    auto node = std::make_unique<SXMLNode>("<Array Name=\"" + name + "\"/>");
    for (int i = 0; i < channelCount; ++i)
        node->AddChild(std::make_unique<SXMLNode>(R"(<Channel Name="c" X="1" Y="0" Z="0"/>)"));
    return node;
}

TEST(ArraySetNode, AfterReset_ReadsBackEqual) {
    ArraySet set;
    set.Read(*Defaults().CreateNode());
    EXPECT_TRUE(set == Defaults());
}

TEST(ArraySetNode, LackingOrMiscountingANamedArray_Fails) {
    for (const std::string name : {"Mono", "Front", "Stereo", "5.1", "6.1", "7.1", "Quad", "Rear"}) {
        EXPECT_EQ(FailureAfter([&](SXMLNode& node) {
                      node.children.erase(node.children.begin() + static_cast<long>(IndexOf(node, name)));
                  }),
                  "Array not present.");
        EXPECT_EQ(
            FailureAfter([&](SXMLNode& node) { node.children[IndexOf(node, name)]->children.pop_back(); }),
            "Invalid channel count for '" + name + "' array.");
    }
}

TEST(ArraySetNode, FurtherArray_MayHaveEightChannels) {
    EXPECT_EQ(FailureAfter([](SXMLNode& node) { node.AddChild(ArrayNode("Wide", 8)); }), "read");
    EXPECT_EQ(FailureAfter([](SXMLNode& node) { node.AddChild(ArrayNode("Wide", 9)); }),
              "Invalid channel count for 'Wide' array.");
}

TEST(ArraySetNode, LaterOfOneName_Replaces) {
    const auto node = Defaults().CreateNode();
    node->AddChild(ArrayNode("Mono", 1));
    ArraySet set;
    set.Read(*node);
    EXPECT_EQ(set.GetArray(3).channels[0].location.x, 1.0);
}

TEST(ArraySetGetArray, MissingArrayOrUnknownType_Fails) {
    EXPECT_THROW(ArraySet().GetArray(3), slib::BadDataException);
    EXPECT_THROW(Defaults().GetArray(2), slib::IntegrityFailureException);
    EXPECT_THROW(Defaults().GetArray(11), slib::IntegrityFailureException);
}

TEST(ArraySetPrepare, OriginAndHeight_DecideOnHarmonicsAndFlatness) {
    ArraySet set = Defaults();
    set.arrays["Front"].channels[0].location = {0.0, 0.0, -5.0};
    set.arrays["Stereo"].channels[1].location = {0.0, 3.0, 1e-10};
    set.Prepare();
    const auto& mono = set.GetArray(3).channels[0].harmonics;
    EXPECT_EQ(mono[0], 1.0f);
    EXPECT_EQ(std::count(mono.begin(), mono.end(), 0.0f), 24);
    EXPECT_TRUE(set.GetArray(6).isFlat);
    EXPECT_FALSE(set.GetArray(4).isFlat);
    EXPECT_TRUE(set.GetArray(5).isFlat);
    const auto& below = set.GetArray(4).channels[0].harmonics;  // straight down: powers of -1 along z
    EXPECT_EQ(below[3], -1.0f);
    EXPECT_EQ(below[15], -1.0f);
    EXPECT_EQ(below[24], 1.0f);
    const auto& left = set.GetArray(5).channels[1].harmonics;
    EXPECT_FLOAT_EQ(left[2], 1.0f);
    EXPECT_FLOAT_EQ(left[5], -1.0f);
    EXPECT_TRUE(set.GetArray(6) == Defaults().GetArray(6));
}

}  // namespace
