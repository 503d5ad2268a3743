#include "orb3core/settings/goalconfig.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "orb3core/settings/audiorendererconfig.h"
#include "slib/exception.h"

namespace {

using orb3::GoalConfig;
using Style = slib::SXMLNode::Style;

// A node with the required attributes alone, none at its default.
const slib::SXMLNode required(
    R"(<Tessarune DefaultSampleRate="44100" EffectsQuality="High" Gain="0.5" IgnoreGameSampleRate="True")"
    R"( IsLoggingVerbose="True" MasqueradeAsGenericHardware="True" MasqueradeAsGenericSoftware="True")"
    R"( MeasureOutputPeak="False" OnlyOneReverb="True" Order="2" SRC="SincLow" SuggestedBufferCount="7")"
    R"( SuggestedBufferLength="256" UseParallelDecoder="True"/>)");

// With one attribute set to another value.
GoalConfig ReadWith(const std::string& key, const std::string& value) {
    slib::SXMLNode node(required.ToString(Style::Compact));
    node.attributes[key] = value;
    GoalConfig config;
    config.Read(node);
    return config;
}

TEST(GoalConfig, WithoutOptionalKeys_ReadsTheirDefaultsAndWritesBackTheOthers) {
    GoalConfig config;
    config.isSuspendSupported = false;
    config.defaultFilterOrder = 2;
    config.Read(required);
    EXPECT_EQ(
        config.CreateNode()->ToString(Style::Compact),
        R"(<Tessarune DefaultFilterOrder="1" DefaultSampleRate="44100" EffectsQuality="High" Gain="0.5")"
        R"( IgnoreGameSampleRate="True" IsLoggingVerbose="True" IsSuspendSupported="True")"
        R"( MasqueradeAsGenericHardware="True" MasqueradeAsGenericSoftware="True" MeasureOutputPeak="False")"
        R"( OnlyOneReverb="True" Order="2" ReleaseASIOInBackground="False" SRC="SincLow")"
        R"( SuggestedBufferCount="7" SuggestedBufferLength="256" UseDirectionalEarlyReflections="True")"
        R"( UseFullLateReflections="True" UseParallelDecoder="True"/>)");
}

TEST(GoalConfig, EachFlag_HasAKeyOfItsOwn) {
    const std::map<std::string, bool GoalConfig::*> flags{
        {"IsLoggingVerbose", &GoalConfig::isLoggingVerbose},
        {"IsSuspendSupported", &GoalConfig::isSuspendSupported},
        {"MeasureOutputPeak", &GoalConfig::measureOutputPeak},
        {"UseParallelDecoder", &GoalConfig::useParallelDecoder},
        {"OnlyOneReverb", &GoalConfig::onlyOneReverb},
        {"IgnoreGameSampleRate", &GoalConfig::ignoreGameSampleRate},
        {"ReleaseASIOInBackground", &GoalConfig::releaseASIOInBackground},
        {"MasqueradeAsGenericSoftware", &GoalConfig::masqueradeAsGenericSoftware},
        {"MasqueradeAsGenericHardware", &GoalConfig::masqueradeAsGenericHardware}};
    for (const auto& [key, field] : flags) {
        GoalConfig expected = ReadWith("Order", "2");
        expected.*field = !(expected.*field);
        EXPECT_EQ(ReadWith(key, expected.*field ? "True" : "False"), expected) << key;
    }
}

TEST(GoalConfig, ValuesOutOfRange_AreCorrectedInSilence) {
    struct Correction {
        const char *key, *given, *written;
    };
    for (const Correction& c : {Correction{"Gain", "-1", "1"},
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
                                {"SRC", "SincBest", "SincBest"},
                                {"EffectsQuality", "Low", "Low"},
                                {"EffectsQuality", "high", "Medium"},
                                {"UseFullLateReflections", "no bool", "True"}})
        EXPECT_EQ(ReadWith(c.key, c.given).CreateNode()->GetAttribute(c.key), c.written)
            << c.key << " given as " << c.given;
}

TEST(GoalConfig, MissingKeysOrAnotherLabel_FailAndLeaveTheRecord) {
    GoalConfig config;
    for (const auto& [key, value] : required.attributes) {
        slib::SXMLNode node(required.ToString(Style::Compact));
        node.attributes.erase(key);
        EXPECT_THROW(config.Read(node), slib::BadXMLException) << key;
    }
    EXPECT_THROW(config.Read(slib::SXMLNode("<tessarune/>")), slib::BadXMLException);
    EXPECT_EQ(config, GoalConfig());
}

TEST(AudioRendererConfig, IsReadAndWrittenWithTheGainAsItIs) {
    const std::string text =
        R"(<AudioRenderer Gain="-2" IsLoggingVerbose="True" MeasureOutputPeak="False")"
        R"( SuggestedBufferCount="7" SuggestedBufferLength="256" UseParallelDecoder="False"/>)";
    orb3::AudioRendererConfig config;
    config.Read(slib::SXMLNode(text));
    EXPECT_EQ(config.CreateNode()->ToString(Style::Compact), text);
}

}  // namespace
