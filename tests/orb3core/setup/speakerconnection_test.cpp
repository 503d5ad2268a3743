#include "orb3core/setup/speakerconnection.h"

#include <gtest/gtest.h>

namespace orb3 {
namespace {

using Names = std::vector<std::string>;
using spk::Role;
using spk::Speaker;
using spk::SpeakerType;

const Names surround{"Front Left",      "Front Right", "Front Centre",
                     "Bass (LFE Only)", "Back Left",   "Back Right"};
const Names side{"Front Left", "Front Right", "Front Centre", "Bass (LFE Only)", "Side Left", "Side Right"};

Speaker Of(const char* label, Role role = Role::Unknown) {
    const bool isSub = role == Role::BassLFE || role == Role::BassManaged;
    return {label, {}, isSub ? SpeakerType::SubWoofer : SpeakerType::Normal, role};
}

struct Case {
    const char* what;
    std::vector<Speaker> speakers;
    Names outputs, expected;
    Names onBass{};
};

TEST(ConnectSpeakers, GivesEachTheOutputOfItsNameThenOfItsRoleThenTheRestInOrder) {
    const Case cases[] = {
        {"five without a sub",
         {Of("Front Left"), Of("Front Right"), Of("Front Centre"), Of("Back Left"), Of("Back Right")},
         surround,
         {"Front Left", "Front Right", "Front Centre", "Back Left", "Back Right"}},
        {"roles in another order, surrounds at the side",
         {Of("1", Role::BackLeft), Of("2", Role::BassLFE), Of("3", Role::FrontRight),
          Of("4", Role::BackRight)},
         side,
         {"Side Left", "Bass (LFE Only)", "Front Right", "Side Right"}},
        {"a name goes before another's role",
         {Of("A", Role::FrontLeft), Of("FrontLeft")},
         {"Front Left", "Left"},
         {"Left", "Front Left"}},
        {"nothing known",
         {Of("A"), Of("B"), Of("C")},
         {"Out (1)", "Out (2)", "Out (3)"},
         {"Out (1)", "Out (2)", "Out (3)"}},
        {"the output of bass comes last",
         {Of("A"), Of("B"), Of("C"), Of("D"), Of("E"), Of("F")},
         surround,
         {"Front Left", "Front Right", "Front Centre", "Back Left", "Back Right", "Bass (LFE Only)"},
         {"F"}},
        {"a second sub",
         {Of("A", Role::BassLFE), Of("B", Role::BassManaged), Of("C")},
         side,
         {"Bass (LFE Only)", "Front Left", "Front Right"}},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.what);
        spk::Layout layout;
        layout.speakers = each.speakers;
        Names connected, onBass;
        for (const std::uint32_t output : ConnectSpeakers(each.speakers, each.outputs)) {
            connected.push_back(each.outputs[output]);
            layout.channels.push_back({.pipePlaybackChannel = connected.back()});
        }
        EXPECT_EQ(connected, each.expected);
        for (const std::size_t i : SpeakersOnBassOutputs(layout))
            onBass.push_back(layout.speakers[i].label);
        EXPECT_EQ(onBass, each.onBass);
    }
}

}  // namespace
}  // namespace orb3
