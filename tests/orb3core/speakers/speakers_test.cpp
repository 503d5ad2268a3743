#include "orb3core/speakers/speakers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "slib/text.h"
#include "tests/support/failure.h"

namespace {

using namespace orb3::spk;
using slib::SXMLNode;
using Style = SXMLNode::Style;
using testing_support::Failure;

// A set of one speaker.
SpeakerSet ReadSet(const std::string& attributes, const std::string& speakerAttributes) {
    SpeakerSet set;
    set.Read(SXMLNode("<SpeakerSet " + attributes + "><Other/><Speaker Label=\"L\" " + speakerAttributes +
                      "><Location X=\"1\" Y=\"-2\" Z=\"0.125\"/></Speaker></SpeakerSet>"),
             true);
    return set;
}

TEST(Texts, OfRolesTypesAndArrangements_ReadBackWhateverTheirCase) {
    for (int value = 0; value < 12; ++value) {
        const auto role = static_cast<Role>(value);
        EXPECT_EQ(ParseRole(slib::toUpper(GetRoleText(role))), role);
    }
    for (int value = 0; value < 4; ++value) {
        const auto arrangement = static_cast<orb3::AudienceArrangement>(value);
        EXPECT_EQ(orb3::ParseAudienceArrangement(orb3::GetAudienceArrangementText(arrangement)), arrangement);
    }
    EXPECT_EQ(Failure([] { ParseRole("Front Left"); }), "Unknown channel name 'Front Left'.");
}

TEST(SpeakerValidate, BassRolesAndSubWoofers_ComeTogether) {
    const auto answer = [](SpeakerType type, Role role) {
        const Speaker speaker{.label = "", .location = {}, .type = type, .role = role};
        return Failure([&] { speaker.Validate(); });
    };
    EXPECT_EQ(answer(SpeakerType::Normal, Role::BassLFE), "Bass channels should be sent to sub-woofers.");
    EXPECT_EQ(answer(SpeakerType::SubWoofer, Role::FrontLeft),
              "Subwoofers should be indicated as 'Bass (LFE Only)' or 'Bass (Managed)'.");
    EXPECT_EQ(answer(SpeakerType::Normal, Role::FrontLeft), "");
}

TEST(SpeakerSetNode, ScaleAndAnUnknownRole_Disappear) {
    SpeakerSet set = ReadSet(R"(DiscardDistance="True" Scale="2")", R"(Type="small" Role="Unknown")");
    EXPECT_EQ(
        set.CreateNode()->ToString(Style::Compact),
        R"(<SpeakerSet AudienceArrangement="Forward" DiscardDistance="True"><Speaker Label="L" Type="Small">)"
        R"(<Location X="2" Y="-4" Z="0.25"/></Speaker></SpeakerSet>)");
    set.speakers[0].role = Role::BassLFE;
    EXPECT_EQ(set.speakers[0].CreateNode()->GetAttribute("Role"), "BassLFE");
    set = ReadSet(R"(DiscardDistance="True" Scale="inf")", R"(Type="Normal")");
    EXPECT_TRUE(std::isfinite(set.speakers[0].location.y));
}

TEST(SpeakerSets, DifferingInARoleOnly_AreEqual) {
    const SpeakerSet plain = ReadSet(R"(DiscardDistance="False")", R"(Type="Normal")");
    EXPECT_TRUE(plain == ReadSet(R"(DiscardDistance="False")", R"(Type="Normal" Role="BackLeft")"));
    EXPECT_FALSE(plain == ReadSet(R"(DiscardDistance="False")", R"(Type="Small")"));
    EXPECT_FALSE(plain == ReadSet(R"(DiscardDistance="True")", R"(Type="Normal")"));
}

}  // namespace
