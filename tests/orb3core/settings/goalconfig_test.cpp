#include "orb3core/settings/goalconfig.h"

#include <gtest/gtest.h>

#include <string>

#include "orb3core/settings/audiorendererconfig.h"
#include "slib/exception.h"

namespace {

using orb3::AudioRendererConfig;
using orb3::GoalConfig;
using orb3::SampleRateConversion;
using Style = slib::SXMLNode::Style;

// A node with the required attributes alone, none at its default.
const char* const tessarune =
    R"(<Tessarune Gain="0.5" DefaultSampleRate="44100" Order="2" SuggestedBufferLength="256")"
    R"( SuggestedBufferCount="7" EffectsQuality="High" SRC="SincLow" IsLoggingVerbose="True")"
    R"( MeasureOutputPeak="False" UseParallelDecoder="True" OnlyOneReverb="True" IgnoreGameSampleRate="True")"
    R"( MasqueradeAsGenericSoftware="True" MasqueradeAsGenericHardware="True"/>)";
const char* const audioRenderer =
    R"(<AudioRenderer Gain="-2" SuggestedBufferLength="256" SuggestedBufferCount="7")"
    R"( IsLoggingVerbose="True" MeasureOutputPeak="False" UseParallelDecoder="True"/>)";

template <typename Config>
Config Read(const slib::SXMLNode& node) {
    Config config;
    config.Read(node);
    return config;
}

// `text` with one attribute set to another value.
template <typename Config>
Config ReadWith(const char* text, const std::string& key, const std::string& value) {
    slib::SXMLNode node(text);
    node.attributes[key] = value;
    return Read<Config>(node);
}

template <typename Config>
void ExpectIsWrittenBack(const char* text) {
    const auto node = Read<Config>(slib::SXMLNode(text)).CreateNode();
    for (const auto& [key, value] : slib::SXMLNode(text).attributes)
        EXPECT_EQ(node->GetAttribute(key), value) << key;
}

TEST(GoalConfig, WithoutOptionalKeys_ReadsTheirDefaultsAndWritesBackTheOthers) {
    GoalConfig config;
    config.isSuspendSupported = false;
    config.defaultFilterOrder = 2;
    config.Read(slib::SXMLNode(tessarune));
    EXPECT_TRUE(config.isSuspendSupported);
    EXPECT_EQ(config.defaultFilterOrder, 1);
    EXPECT_TRUE(config.useDirectionalEarlyReflections && config.useFullLateReflections);
    EXPECT_EQ(config.sampleRateConversion, SampleRateConversion::SincLow);
    ExpectIsWrittenBack<GoalConfig>(tessarune);
}

TEST(GoalConfig, Defaults_WriteAllKeysInByteOrder) {
    EXPECT_EQ(
        GoalConfig().CreateNode()->ToString(Style::Compact),
        R"(<Tessarune DefaultFilterOrder="1" DefaultSampleRate="48000" EffectsQuality="Medium" Gain="1")"
        R"( IgnoreGameSampleRate="False" IsLoggingVerbose="False" IsSuspendSupported="True")"
        R"( MasqueradeAsGenericHardware="False" MasqueradeAsGenericSoftware="False" MeasureOutputPeak="True")"
        R"( OnlyOneReverb="False" Order="3" ReleaseASIOInBackground="False" SRC="Linear")"
        R"( SuggestedBufferCount="4" SuggestedBufferLength="512" UseDirectionalEarlyReflections="False")"
        R"( UseFullLateReflections="True" UseParallelDecoder="False"/>)");
}

TEST(GoalConfig, EachFlag_HasAKeyOfItsOwn) {
    struct Row {
        const char* key;
        bool GoalConfig::*field;
    };
    for (const Row& row : {Row{"IsLoggingVerbose", &GoalConfig::isLoggingVerbose},
                           {"IsSuspendSupported", &GoalConfig::isSuspendSupported},
                           {"MeasureOutputPeak", &GoalConfig::measureOutputPeak},
                           {"UseParallelDecoder", &GoalConfig::useParallelDecoder},
                           {"OnlyOneReverb", &GoalConfig::onlyOneReverb},
                           {"IgnoreGameSampleRate", &GoalConfig::ignoreGameSampleRate},
                           {"ReleaseASIOInBackground", &GoalConfig::releaseASIOInBackground},
                           {"MasqueradeAsGenericSoftware", &GoalConfig::masqueradeAsGenericSoftware},
                           {"MasqueradeAsGenericHardware", &GoalConfig::masqueradeAsGenericHardware}}) {
        SCOPED_TRACE(row.key);
        const GoalConfig before = Read<GoalConfig>(slib::SXMLNode(tessarune));
        GoalConfig expected = before;
        expected.*row.field = !(before.*row.field);
        const auto flipped = ReadWith<GoalConfig>(tessarune, row.key, before.*row.field ? "False" : "True");
        EXPECT_TRUE(flipped == expected);
        EXPECT_TRUE(Read<GoalConfig>(*flipped.CreateNode()) == expected);
    }
}

struct Correction {
    const char* key;
    const char* given;
    const char* written;
};

template <typename Config, std::size_t count>
void ExpectCorrections(const char* text, const Correction (&corrections)[count]) {
    for (const Correction& c : corrections)
        EXPECT_EQ(ReadWith<Config>(text, c.key, c.given).CreateNode()->GetAttribute(c.key), c.written)
            << c.key << " given as " << c.given;
}

TEST(GoalConfig, ValuesOutOfRange_AreCorrectedInSilence) {
    ExpectCorrections<GoalConfig>(tessarune, {{"Gain", "-1", "1"},
                                              {"Gain", "inf", "1"},
                                              {"Gain", "nan", "1"},
                                              {"Gain", "loud", "0"},
                                              {"Order", "0", "1"},
                                              {"Order", "99999999999", "4"},
                                              {"SuggestedBufferLength", "-99999999999", "64"},
                                              {"SuggestedBufferCount", "0", "1"},
                                              {"DefaultSampleRate", "0", "48000"},
                                              {"DefaultFilterOrder", "3", "1"},
                                              {"SRC", "off", "Linear"},
                                              {"SRC", "Off", "Off"},
                                              {"SRC", "SincHigh", "SincHigh"},
                                              {"EffectsQuality", "Low", "Low"},
                                              {"EffectsQuality", "high", "Medium"},
                                              {"UseFullLateReflections", "no bool", "True"}});
}

template <typename Config>
void ExpectEachKeyIsRequired(const char* text) {
    for (const auto& [key, value] : slib::SXMLNode(text).attributes) {
        slib::SXMLNode node(text);
        node.attributes.erase(key);
        Config config;
        EXPECT_THROW(config.Read(node), slib::BadXMLException) << key;
        EXPECT_TRUE(config == Config());
    }
    EXPECT_THROW(Read<Config>(slib::SXMLNode("<other/>")), slib::BadXMLException);
}

TEST(GoalConfig, MissingKeysOrAnotherLabel_FailAndLeaveTheRecord) {
    ExpectEachKeyIsRequired<GoalConfig>(tessarune);
}

TEST(AudioRendererConfig, IsReadAndWrittenWithTheGainAsItIs) {
    EXPECT_EQ(AudioRendererConfig().CreateNode()->ToString(Style::Compact),
              R"(<AudioRenderer Gain="1" IsLoggingVerbose="False" MeasureOutputPeak="True")"
              R"( SuggestedBufferCount="3" SuggestedBufferLength="1024" UseParallelDecoder="True"/>)");
    ExpectIsWrittenBack<AudioRendererConfig>(audioRenderer);
    ExpectEachKeyIsRequired<AudioRendererConfig>(audioRenderer);
    ExpectCorrections<AudioRendererConfig>(audioRenderer, {{"SuggestedBufferLength", "63", "64"},
                                                           {"SuggestedBufferCount", "-1", "1"},
                                                           {"Gain", "inf", "1.79769e+308"}});
}

}  // namespace
