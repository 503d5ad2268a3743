// What the programs print for other programs, against what they print for people.

#include <nlohmann/json.hpp>

#include "tests/tools/tools.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing_support::Outcome;
using testing_support::Tools;
using testing_support::Words;

class JsonOutput : public Tools {
protected:
    json Parsed(const std::string& program, Words words) const {
        words.emplace_back("--json");
        const Outcome outcome = Run(program, words);
        EXPECT_EQ(outcome.status, 0) << outcome.error;
        return json::parse(outcome.out);
    }
    json ParsedConfig(const Words& words) const { return Parsed("tessarune-config", words); }
};

// The row of an array that has this value under a key.
json Row(const json& array, const std::string& key, const json& value) {
    for (const json& row : array)
        if (row.at(key) == value) return row;
    ADD_FAILURE() << "There is no " << key << " " << value << " in " << array;
    return {};
}

TEST_F(JsonOutput, OfSettings_HasNumbersAndTruths) {
    Set({{"Order", "2"}, {"Gain", "0.25"}, {"IgnoreGameSampleRate", "yes"}, {"SpeakerSetting", "Quad"}});
    const json get = ParsedConfig({"get"}), show = ParsedConfig({"show"});
    for (const json& settings : {get, show.at("settings")}) {
        EXPECT_EQ(Row(settings, "setting", "Order").at("value"), 2);
        EXPECT_EQ(Row(settings, "setting", "Gain").at("value"), 0.25);
        EXPECT_EQ(Row(settings, "setting", "IgnoreGameSampleRate").at("value"), true);
    }
    EXPECT_EQ(ParsedConfig({"get", "order"}), Row(get, "setting", "Order"));
    EXPECT_EQ(show.at("layout"), json(nullptr));
}

TEST_F(JsonOutput, OfTheSetUp_AgreesWithTheText) {
    Set({{"SpeakerSetting", "Quad"}, {"Order", "2"}});
    ASSERT_EQ(Config({"select", "Quad"}).status, 0);
    const json check = ParsedConfig({"check"});
    EXPECT_THAT(Config({"check"}).out,
                HasSubstr("\nLatency  " + check.at("latency_frames").dump() + " frames"));
    const int block = check.at("block_frames"), blocks = check.at("output_blocks");
    EXPECT_EQ(check.at("latency_frames"), block / 2 + int{check.at("decoder_frames")} + (blocks + 1) * block);
    EXPECT_EQ(check.at("would_start"), true);
    EXPECT_EQ(check.at("order"), 2);
    EXPECT_EQ(ParsedConfig({"devices"})[0].at("outputs").size(), 4u);
    const json layout = Row(ParsedConfig({"layouts"}).at("layouts"), "layout", "Quad");
    EXPECT_EQ(layout.at("is_selected"), true);
    EXPECT_EQ(layout.at("method"), "dualband");
    EXPECT_EQ(Row(ParsedConfig({"speakers"}).at("speakers"), "number", 3).at("azimuth"), 135.0);
    LoseFormatLibrary();
    const Outcome lost = Config({"check", "--json"});
    ExpectOutcome(lost, 1, "/no/such.afl");
    EXPECT_EQ(lost.out, "");
}

TEST_F(JsonOutput, OfInfoAndLog_HasWhatTheLibrarySays) {
    const json info = Parsed("tessarune-info", {});
    EXPECT_EQ(info.at("library_version"), TESSARUNE_VERSION);
    EXPECT_EQ(info.at("attributes").at("0x1007"), info.at("sample_rate"));
    const std::string text = Run("tessarune-info", {}).out;
    EXPECT_THAT(text, HasSubstr("Mono sources:          " + info.at("mono_sources").dump() + "\n"));
    const json log = ParsedConfig({"log"});
    EXPECT_THAT(Config({"log"}).out, testing::EndsWith(log.back().at("text").get<std::string>() + "\n"));
}

TEST_F(JsonOutput, OfALibrary_CountsWhatItLists) {
    const std::string library = files.FormatLibrary();
    const json show = Parsed("tessarune-library", {"show", library});
    const json check = Parsed("tessarune-library", {"check", library, "--acoustics"});
    EXPECT_EQ(show.at("formats").size(), check.at("formats"));
    EXPECT_EQ(Row(show.at("formats"), "tag", "surround51").at("channels"), 6);
    EXPECT_EQ(Row(show.at("conversions"), "to", "quad").at("rates"), json({44100, 48000}));
    EXPECT_EQ(check.at("faults"), json::array());
    EXPECT_EQ(Row(check.at("speakers"), "layout", "Quad").at("energy_error_mean").is_number(), true);
    EXPECT_GT(Row(check.at("heads"), "method", "measuredhead").at("delay").at("median"), 0);
}

}  // namespace
