#include "library/layouts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <set>
#include <sstream>

#include "library/layoutreader.h"
#include "orb3core/speakers/standardchannels.h"
#include "tests/support/failure.h"

namespace design {
namespace {

SpeakerLayout ReadText(const std::string& text) {
    std::istringstream stream(text);
    return ReadLayout(stream, "room.txt");
}

TEST(StandardLayouts, AreTheNineOfTheSystemWithItsChannelsInOrder) {
    const std::vector<SpeakerLayout> layouts = StandardLayouts();
    ASSERT_EQ(layouts.size(), 9u);
    for (std::size_t i = 0; i < layouts.size(); ++i) {
        const auto format = static_cast<slib::StandardFormat>(i + 1);
        EXPECT_EQ(layouts[i].name, slib::GetStandardFormatName(format));
        const std::vector<std::string> channels = slib::GetStandardChannelNames(format);
        ASSERT_EQ(layouts[i].speakers.size(), channels.size());
        for (std::size_t k = 0; k < channels.size(); ++k) {
            EXPECT_EQ(layouts[i].speakers[k].label, channels[k]);
            // The left is where y is positive, and its mirror image follows.
            const double y = layouts[i].speakers[k].direction.y();
            EXPECT_EQ(y > 1e-9, channels[k].find("Left") != std::string::npos);
            EXPECT_EQ(y < -1e-9, channels[k].find("Right") != std::string::npos);
        }
        for (const orb3::spk::Speaker& speaker : MakeSpeakerSet(layouts[i]).speakers)
            EXPECT_NO_THROW(speaker.Validate());
    }
}

TEST(WideLayouts, HaveSpeakersOfTheirOwnNamesEachWithItsMirrorImage) {
    const std::size_t counts[] = {8, 10, 12, 24, 8, 24};
    const std::vector<SpeakerLayout> layouts = WideLayouts();
    ASSERT_EQ(layouts.size(), std::size(counts));
    for (std::size_t i = 0; i < layouts.size(); ++i) {
        const std::vector<RoomSpeaker>& speakers = layouts[i].speakers;
        EXPECT_EQ(speakers.size(), counts[i]) << layouts[i].name;
        std::set<std::string> names;
        for (const RoomSpeaker& speaker : speakers) {
            names.insert(speaker.label);
            const Direction mirrored(speaker.direction.x(), -speaker.direction.y(), speaker.direction.z());
            EXPECT_TRUE(std::ranges::any_of(speakers,
                                            [&](const RoomSpeaker& other) {
                                                return AngleBetween(other.direction, mirrored) < 1e-6 &&
                                                       other.type == speaker.type;
                                            }))
                << layouts[i].name << speaker.label;
            if (speaker.label.find("Left") != std::string::npos) {
                EXPECT_GT(speaker.direction.y(), 0.1);
            }
            if (speaker.label.find("Right") != std::string::npos) {
                EXPECT_LT(speaker.direction.y(), -0.1);
            }
        }
        EXPECT_EQ(names.size(), speakers.size());
    }
}

// The set-up's rule: sqrt(4 pi) times the fourth root of the count of speakers that aren't for dialogue or
// bass alone, times the distance; shared by the square root of the number of centres.
TEST(MakeSpeakerSet, Dialogue_IsAsLoudByEveryLayout) {
    std::vector<SpeakerLayout> layouts = StandardLayouts();
    layouts.push_back(RegularLayouts().front());
    layouts.push_back(
        ReadText("name: a\nC: azimuth 5, distance 2, role FrontCentre\nL: azimuth 60, distance 3\n"
                 "D: azimuth 0, distance 1.2, role FrontCentreDialogue\nR: azimuth -60\n"));
    for (const SpeakerLayout& layout : layouts) {
        const orb3::spk::SpeakerSet set = MakeSpeakerSet(layout);
        double count = 0, centres = 0, energy = 0;
        for (std::size_t i = 0; i < set.speakers.size(); ++i) {
            using orb3::spk::Role;
            const Role role = set.speakers[i].role;
            count += role != Role::FrontCentreDialogue && role != Role::BassLFE && role != Role::BassManaged;
            if (role != Role::FrontCentre && role != Role::FrontCentreDialogue) continue;
            const orb3::Location& at = set.speakers[i].location;
            const double gain = std::hypot(at.x, at.y, at.z);
            energy += std::pow(gain * layout.ReferenceDistance() / layout.speakers[i].distance, 2);
            ++centres;
        }
        if (centres > 0) {
            EXPECT_NEAR(energy / centres * std::sqrt(count), 1, 1e-9) << layout.name;
        }
    }
}

TEST(ReadLayout, AWholeRoom_IsReadInItsOrder) {
    const SpeakerLayout room = ReadText(
        "# measured with a tape\r\n\n name : Attic 2 \nLeft: azimuth 30, distance 2.4, role FrontLeft # new\n"
        "Top:azimuth -90 ,elevation 60\nSide: x -0.3, y 0.4\nSub: y 3, type sub-woofer, role basslfe\n");
    EXPECT_EQ(room.name, "Attic 2");
    ASSERT_EQ(room.speakers.size(), 4u);
    EXPECT_NEAR(room.speakers[0].direction.y(), 0.5, 1e-12);
    EXPECT_EQ(room.speakers[0].distance, 2.4);
    EXPECT_EQ(room.speakers[0].role, orb3::spk::Role::FrontLeft);
    EXPECT_NEAR(room.speakers[1].direction.y(), -0.5, 1e-12);
    EXPECT_NEAR(room.speakers[1].direction.z(), std::numbers::sqrt3 / 2, 1e-12);
    EXPECT_NEAR(room.speakers[2].direction.x(), -0.6, 1e-12);
    EXPECT_NEAR(room.speakers[2].distance, 0.5, 1e-12);
    EXPECT_EQ(room.DecodedSpeakers(), (std::vector<std::size_t>{0, 1, 2}));
    EXPECT_FALSE(room.IsFlat());
    EXPECT_EQ(room.ReferenceDistance(), 2.4);
}

TEST(ReadLayout, OfABadRoom_TellsTheLineAndWhatIsWrong) {
    const std::pair<const char*, const char*> cases[] = {
        // a part of the message
        {"A: azimuth 1\n", "room.txt, line 1: The layout has no name"},
        {"name: a\nA: azimuth 3x\n", "line 2: \"3x\" is not a number for \"azimuth\""},
        {"name: a\nA: azimuth 1, azimuth 2\n", "line 2: \"azimuth\" is given twice"},
        {"name: a\nA: elevation 91\n", "line 2: An elevation"},
        {"name: a\nA: x 0\n", "line 2: A speaker stands between"},
        {"name: a\nA: azimuth 0\nA: azimuth 9\n", "line 3: There are two speakers"},
        {"name: a\nA: azimuth 0\nB: x 3\n", "line 3: \"A\" and \"B\" stand"}};
    for (const auto& [text, message] : cases) {
        const std::string failure = testing_support::Failure([&, text = text] { ReadText(text); });
        EXPECT_NE(failure.find(message), std::string::npos) << failure << text;
    }
}

const char* const jsonRoom =
    R"({"Name": "file", "Decoder": {"Order": 3}, "LoudspeakerLayout": {"Name": "Attic", "Loudspeakers": [
{"Azimuth": -30, "Elevation": 0.0, "Radius": 2.5, "IsImaginary": false, "Channel": 2, "Gain": 0.5},
{"Azimuth": 0, "Elevation": -90, "Radius": 1, "IsImaginary": true, "Channel": 9, "Gain": 0},
{"Azimuth": 30, "Elevation": 60, "Radius": 2, "IsImaginary": false, "Channel": 1, "Gain": 1}]}})";

TEST(ReadLayout, OfJson_TakesRealSpeakersInTheOrderOfTheirChannels) {
    const SpeakerLayout room = ReadText(jsonRoom);
    EXPECT_EQ(room.name, "Attic");
    ASSERT_EQ(room.speakers.size(), 2u);
    EXPECT_NEAR(room.speakers[0].direction.y(), 0.25, 1e-12);
    EXPECT_NEAR(room.speakers[0].direction.z(), std::numbers::sqrt3 / 2, 1e-12);
    EXPECT_EQ(room.speakers[1].label, "Speaker 2");
    EXPECT_EQ(room.speakers[1].distance, 2.5);
    EXPECT_EQ(room.speakers[1].gain, 0.5);
    const SpeakerLayout pairs = ReadText(R"({"elements": [[90, 0], [-90, 0, 2], {"azimuth": 0}]})");
    EXPECT_EQ(pairs.name, "room");
    ASSERT_EQ(pairs.speakers.size(), 3u);
    EXPECT_NEAR(pairs.speakers[0].direction.y(), 1, 1e-12);
    EXPECT_EQ(pairs.speakers[1].distance, 2);
    EXPECT_EQ(pairs.speakers[2].role, orb3::spk::Role::FrontCentre);
}

TEST(ReadLayout, OfBadJson_TellsTheLineAndWhatIsWrong) {
    const std::pair<std::string, const char*> cases[] = {
        // a part of the message
        {"{\n\"elements\": [\n[0, 0],,]}", "room.txt, line 3: This is no JSON: "},
        {"{\n\"elements\": [\n[0, 0],\n[0, 91]]}", "line 4: An elevation"},
        {"{\"elements\": [[0, 0],\n\n{\"Elevation\": 3}]}", "line 3: The speaker has no \"Azimuth\""},
        {"{\"elements\": [\n[0, 0], [0, \"x\"]]}", "line 2: A speaker's array"},
        {"{\"elements\": [\n[0, 0],\n[0.1, 0]]}", "line 3: \"Speaker 1\" and \"Speaker 2\" stand"},
        {"{\"elements\": [[0, 0],\n{\"azimuth\": 4, \"channel\": 1}]}", "All speakers have a \"Channel\""},
        {"{\"elements\": [\n]}", "The layout has no speaker to decode for"},
        {"[1, 2]", "There is no array \"Loudspeakers\" or \"Elements\""},
        {std::string(100000, '['), "line 1: The document is nested too deeply."}};
    for (const auto& [text, message] : cases) {
        const std::string failure = testing_support::Failure([&, text = text] { ReadText(text); });
        EXPECT_NE(failure.find(message), std::string::npos) << failure << text.substr(0, 99);
    }
}

}  // namespace
}  // namespace design
