#include "orb3core/speakers/array.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <string>

#include "tests/support/failure.h"

namespace {

using orb3::array::Array;
using orb3::array::ArraySet;
using slib::SXMLNode;

ArraySet Defaults() {
    ArraySet set;
    set.Reset();
    return set;
}

// The name of an array whose channels stand at the listener or at whole degrees of the unit circle, and
// these.
std::string Described(const Array& array) {
    std::string text = array.name + ":";
    for (const auto& [name, location, harmonics] : array.channels) {
        const bool isAtOrigin = location == orb3::Location();
        const long azimuth = std::lround(std::atan2(location.y, location.x) * 180 / std::numbers::pi);
        const double angle = static_cast<double>(azimuth) * std::numbers::pi / 180;
        EXPECT_TRUE(isAtOrigin || (std::abs(location.x - std::cos(angle)) < 1e-10 &&
                                   std::abs(location.y - std::sin(angle)) < 1e-10 && location.z == 0.0));
        text += " " + name + " " + (isAtOrigin ? "-" : std::to_string(azimuth));
    }
    return text;
}

TEST(DefaultArrays, EachType_HasItsChannelsOnTheUnitCircle) {
    const std::string front51 = " Front Left 30 Front Right -30 Front Centre 0 Bass -";
    const std::string expected[] = {
        "Mono: Audio -",
        "Front: Front 0",
        "Stereo: Left 30 Right -30",
        "5.1:" + front51 + " Side Left 110 Side Right -110",
        "6.1:" + front51 + " Side Left 110 Side Right -110 Back Centre 180",
        "7.1:" + front51 + " Back Left 150 Back Right -150 Side Left 90 Side Right -90",
        "Quad: Front Left 45 Front Right -45 Back Left 135 Back Right -135",
        "Rear: Back Left 135 Back Right -135"};
    int type = 3;
    for (const std::string& text : expected)
        EXPECT_EQ(Described(Defaults().GetArray(type++)), text);
    EXPECT_THROW(ArraySet().GetArray(3), slib::BadDataException);
}

void AddArray(SXMLNode& set, const std::string& name, int channelCount) {
    SXMLNode& array = set.AddChild(std::make_unique<SXMLNode>("<Array Name=\"" + name + "\"/>"));
    for (int i = 0; i < channelCount; ++i)
        array.AddChild(std::make_unique<SXMLNode>(R"(<Channel Name="c" X="1" Y="0" Z="0"/>)"));
}

// The failure of reading the default document after a change.
std::string FailureAfter(const std::function<void(SXMLNode&)>& change) {
    const auto node = Defaults().CreateNode();
    change(*node);
    return testing_support::Failure([&] { ArraySet().Read(*node); });
}

TEST(ArraySetNode, LackingOrMiscountingAnArray_Fails) {
    EXPECT_EQ(FailureAfter([](SXMLNode& set) { set.children.back()->children.pop_back(); }),
              "Invalid channel count for 'Stereo' array.");
    EXPECT_EQ(FailureAfter([](SXMLNode& set) { AddArray(set, "Wide", 9); }),
              "Invalid channel count for 'Wide' array.");
}

TEST(ArraySetNode, OfTheDefaultsWithFurtherArrays_ReadsBackWithTheLaterOfOneName) {
    const auto node = Defaults().CreateNode();
    ArraySet set;
    set.Read(*node);
    EXPECT_TRUE(set == Defaults());
    AddArray(*node, "Mono", 1);
    set.Read(*node);
    EXPECT_EQ(Described(set.GetArray(3)), "Mono: c 0");
}

TEST(ArraySetPrepare, OriginAndHeight_DecideOnHarmonicsAndFlatness) {
    ArraySet set = Defaults();
    set.arrays["Front"].channels[0].location = {0.0, 0.0, -5.0};
    set.arrays["Stereo"].channels[1].location = {0.0, 3.0, 1e-10};
    set.Prepare();
    const auto& mono = set.GetArray(3).channels[0].harmonics;
    EXPECT_EQ(mono[0], 1.0f);
    EXPECT_EQ(std::count(mono.begin(), mono.end(), 0.0f), 24);
    EXPECT_FALSE(set.GetArray(4).isFlat);
    EXPECT_TRUE(set.GetArray(5).isFlat);
    EXPECT_EQ(set.GetArray(4).channels[0].harmonics[15], -1.0f);  // straight down
    EXPECT_FLOAT_EQ(set.GetArray(5).channels[1].harmonics[5], -1.0f);
}

}  // namespace
