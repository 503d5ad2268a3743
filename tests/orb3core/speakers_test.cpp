#include "orb3core/speakers.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cmath>
#include <string>

#include "orb3core/standardchannels.h"
#include "slib/exception.h"

namespace {

using namespace orb3::spk;
using orb3::AudienceArrangement;
using slib::SXMLNode;
using Style = SXMLNode::Style;

template <typename Call>
std::string TextOfBadData(Call call) {
    try {
        call();
    } catch (const slib::BadDataException& failure) {
        return failure.what();
    }
    return "nothing was thrown";
}

SpeakerSet ReadSet(const std::string& attributes, const std::string& children = "") {
    SpeakerSet set;
    set.Read(SXMLNode("<SpeakerSet " + attributes + ">" + children + "</SpeakerSet>"), true);
    return set;
}

std::string SpeakerText(const std::string& attributes) {
    return "<Speaker Label=\"L\" " + attributes + "><Location X=\"1\" Y=\"-2\" Z=\"0.125\"/></Speaker>";
}

Speaker ReadSpeaker(const std::string& attributes) {
    Speaker speaker;
    speaker.Read(SXMLNode(SpeakerText(attributes)));
    return speaker;
}

TEST(Roles, AllTexts_ReadWithoutRegardToCaseAndWriteBack) {
    const char* const texts[] = {
        "Unknown",     "FrontLeft", "FrontRight", "FrontCentre", "FrontCentreDialogue",
        "BassManaged", "BassLFE",   "BackLeft",   "BackRight",   "BackCentre",
        "SideLeft",    "SideRight"};
    int value = 0;
    for (const std::string text : texts) {
        const auto role = static_cast<Role>(value++);
        EXPECT_EQ(GetRoleText(role), text);
        std::string shouted = text;
        for (char& c : shouted)
            c = static_cast<char>(std::toupper(c));
        EXPECT_EQ(ParseRole(shouted), role);
    }
    EXPECT_EQ(TextOfBadData([] { ParseRole("Front Left"); }), "Unknown channel name 'Front Left'.");
}

TEST(SpeakerTypes, AllTexts_ReadWithoutRegardToCase) {
    EXPECT_EQ(ParseSpeakerType("normal"), SpeakerType::Normal);
    EXPECT_EQ(ParseSpeakerType("small"), SpeakerType::Small);
    EXPECT_EQ(GetSpeakerTypeText(ParseSpeakerType("SUB-woofer")), "Sub-Woofer");
    EXPECT_EQ(TextOfBadData([] { ParseSpeakerType(""); }), "Unknown speaker type ''.");
}

TEST(AudienceArrangements, Texts_AreComparedExactly) {
    int value = 0;
    for (const std::string text : {"Free", "Upright", "Forward", "Forward/Upright"}) {
        const auto arrangement = static_cast<AudienceArrangement>(value++);
        EXPECT_EQ(orb3::ParseAudienceArrangement(text), arrangement);
        EXPECT_EQ(orb3::GetAudienceArrangementText(arrangement), text);
    }
    EXPECT_EQ(TextOfBadData([] { orb3::ParseAudienceArrangement("free"); }),
              "Unknown audience arrangement 'free'.");
}

TEST(SpeakerNode, UnknownRole_IsLeftOut) {
    EXPECT_EQ(ReadSpeaker(R"(Type="small" Role="Unknown")").CreateNode()->ToString(Style::Compact),
              R"(<Speaker Label="L" Type="Small"><Location X="1" Y="-2" Z="0.125"/></Speaker>)");
    EXPECT_EQ(ReadSpeaker(R"(Type="Sub-Woofer" Role="BASSLFE")").CreateNode()->GetAttribute("Role"),
              "BassLFE");
}

TEST(SpeakerNode, Coordinates_HaveTenSignificantDigits) {
    Speaker speaker;
    speaker.location = {1.0 / 3.0, -12345.678901234, 1e-12};
    EXPECT_EQ(speaker.CreateNode()->GetChild("Location").ToString(Style::Compact),
              R"(<Location X="0.3333333333" Y="-12345.6789" Z="1e-12"/>)");
}

TEST(SpeakerValidate, BassRolesAndSubWoofers_ComeTogether) {
    const std::string bassText = "Bass channels should be sent to sub-woofers.";
    const std::string typeText = "Subwoofers should be indicated as 'Bass (LFE Only)' or 'Bass (Managed)'.";
    const auto answer = [](SpeakerType type, Role role) {
        Speaker speaker;
        speaker.type = type;
        speaker.role = role;
        return TextOfBadData([&] { speaker.Validate(); });
    };
    EXPECT_EQ(answer(SpeakerType::Normal, Role::BassLFE), bassText);
    EXPECT_EQ(answer(SpeakerType::Small, Role::BassManaged), bassText);
    EXPECT_EQ(answer(SpeakerType::SubWoofer, Role::Unknown), typeText);
    EXPECT_EQ(answer(SpeakerType::SubWoofer, Role::FrontLeft), typeText);
    EXPECT_EQ(answer(SpeakerType::SubWoofer, Role::BassManaged), "nothing was thrown");
    EXPECT_EQ(answer(SpeakerType::Normal, Role::FrontLeft), "nothing was thrown");
}

TEST(SpeakerSetNode, Scale_MultipliesCoordinatesAndDisappears) {
    const SpeakerSet set =
        ReadSet(R"(DiscardDistance="True" Scale="2")", SpeakerText(R"(Type="Normal")") + "<Other/>");
    EXPECT_EQ(
        set.CreateNode()->ToString(Style::Compact),
        R"(<SpeakerSet AudienceArrangement="Forward" DiscardDistance="True"><Speaker Label="L" Type="Normal">)"
        R"(<Location X="2" Y="-4" Z="0.25"/></Speaker></SpeakerSet>)");
}

TEST(SpeakerSetNode, OverflowingScale_KeepsCoordinatesFinite) {
    const SpeakerSet set = ReadSet(R"(DiscardDistance="True" Scale="inf")", SpeakerText(R"(Type="Normal")"));
    EXPECT_TRUE(std::isfinite(set.speakers[0].location.y));
}

TEST(SpeakerSetNode, FailedRead_LeavesTheSet) {
    SpeakerSet set = ReadSet(R"(DiscardDistance="True")", SpeakerText(R"(Type="Normal")"));
    const SpeakerSet before = set;
    EXPECT_THROW(set.Read(SXMLNode("<SpeakerSet/>"), true), slib::BadXMLException);
    EXPECT_THROW(set.Read(SXMLNode(R"(<Other DiscardDistance="True"/>)"), true), slib::BadXMLException);
    EXPECT_TRUE(set == before);
    set.Read(SXMLNode(R"(<Other DiscardDistance="True"/>)"), false);
    EXPECT_TRUE(set.speakers.empty());
}

TEST(SpeakerSets, DifferingInARoleOnly_AreEqual) {
    const std::string attributes = R"(DiscardDistance="False")";
    const SpeakerSet plain = ReadSet(attributes, SpeakerText(R"(Type="Normal")"));
    EXPECT_TRUE(plain == ReadSet(attributes, SpeakerText(R"(Type="Normal" Role="BackLeft")")));
    EXPECT_FALSE(plain == ReadSet(attributes, SpeakerText(R"(Type="Small")")));
    EXPECT_FALSE(plain == ReadSet(attributes));
    EXPECT_FALSE(plain == ReadSet(R"(DiscardDistance="True")", SpeakerText(R"(Type="Normal")")));
    EXPECT_FALSE(plain ==
                 ReadSet(attributes + R"( AudienceArrangement="Free")", SpeakerText(R"(Type="Normal")")));
}

TEST(ChannelNames, Match_WithoutSpaceAndParentheses) {
    EXPECT_TRUE(orb3::NamesMatch("Front Left (L)", "FrontLeft"));
    EXPECT_FALSE(orb3::NamesMatch("Front Left", "front left"));
}

}  // namespace
