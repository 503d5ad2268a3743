#include "orb3core/settings/goalconfig.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "orb3core/settings/audiorendererconfig.h"
#include "slib/exception.h"

namespace {

using orb3::AudioRendererConfig;
using orb3::GoalConfig;
using Style = slib::SXMLNode::Style;

const char* const minimal =
    R"(<Tessarune Gain="0.5" DefaultSampleRate="44100" Order="2" SuggestedBufferLength="256")"
    R"( SuggestedBufferCount="2" EffectsQuality="High" SRC="SincLow" IsLoggingVerbose="True")"
    R"( MeasureOutputPeak="False" UseParallelDecoder="True" OnlyOneReverb="True" IgnoreGameSampleRate="True")"
    R"( MasqueradeAsGenericSoftware="True" MasqueradeAsGenericHardware="True"/>)";

GoalConfig Read(const slib::SXMLNode& node) {
    GoalConfig config;
    config.Read(node);
    return config;
}

// The smallest document with one attribute set to another value.
GoalConfig ReadWith(const std::string& key, const std::string& value) {
    slib::SXMLNode node(minimal);
    node.attributes[key] = value;
    return Read(node);
}

TEST(GoalConfig, WithoutOptionalKeys_ReadsTheirDefaultsAndWritesBackTheOthers) {
    GoalConfig config;
    config.isSuspendSupported = false;
    config.releaseASIOInBackground = true;
    config.defaultFilterOrder = 2;
    config.Read(slib::SXMLNode(minimal));
    const auto node = config.CreateNode();
    for (const auto& [key, value] : slib::SXMLNode(minimal).attributes)
        EXPECT_EQ(node->GetAttribute(key), value);
    EXPECT_EQ(node->GetAttribute("IsSuspendSupported"), "True");
    EXPECT_EQ(node->GetAttribute("ReleaseASIOInBackground"), "False");
    EXPECT_EQ(node->GetAttribute("DefaultFilterOrder"), "1");
    EXPECT_EQ(node->GetAttribute("UseDirectionalEarlyReflections"), "True");
    EXPECT_TRUE(Read(*node) == config);
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

TEST(GoalConfig, ValuesOutOfRange_AreCorrectedInSilence) {
    // By key, what is read and what is written for it.
    const std::map<std::string, std::map<std::string, std::string>> cases{
        {"Gain", {{"-1", "1"}, {"inf", "1"}, {"nan", "1"}, {"loud", "0"}}},
        {"Order", {{"0", "1"}, {"99999999999", "4"}}},
        {"SuggestedBufferLength", {{"-99999999999", "64"}}},
        {"SuggestedBufferCount", {{"0", "1"}}},
        {"DefaultSampleRate", {{"0", "48000"}, {"1", "1"}}},
        {"DefaultFilterOrder", {{"2", "2"}, {"3", "1"}}},
        {"SRC", {{"off", "Linear"}, {"Off", "Off"}, {"SincHigh", "SincHigh"}}},
        {"EffectsQuality", {{"Low", "Low"}, {"high", "Medium"}}}};
    for (const auto& [key, texts] : cases)
        for (const auto& [text, written] : texts)
            EXPECT_EQ(ReadWith(key, text).CreateNode()->GetAttribute(key), written) << key << text;
    EXPECT_TRUE(ReadWith("UseFullLateReflections", "no bool at all").useFullLateReflections);
    GoalConfig broken;
    broken.sampleRateConversion = static_cast<orb3::SampleRateConversion>(5);
    EXPECT_THROW(broken.CreateNode(), slib::IntegrityFailureException);
}

TEST(GoalConfig, MissingOrWrongKeys_FailAndLeaveTheRecord) {
    for (const auto& [key, value] : slib::SXMLNode(minimal).attributes) {
        slib::SXMLNode node(minimal);
        node.attributes.erase(key);
        GoalConfig config;
        EXPECT_THROW(config.Read(node), slib::BadXMLException) << key;
        EXPECT_TRUE(config == GoalConfig());
    }
    EXPECT_THROW(ReadWith("IsSuspendSupported", "true"), slib::BadDataException);
    EXPECT_THROW(Read(slib::SXMLNode("<tessarune/>")), slib::BadXMLException);
}

TEST(AudioRendererConfig, Numbers_AreCorrectedButTheGainIsNot) {
    AudioRendererConfig config;
    config.Read(slib::SXMLNode(
        R"(<AudioRenderer Gain="-2" SuggestedBufferLength="63" SuggestedBufferCount="-1")"
        R"( IsLoggingVerbose="True" MeasureOutputPeak="False" UseParallelDecoder="False" Other="x"/>)"));
    EXPECT_EQ(config.CreateNode()->ToString(Style::Compact),
              R"(<AudioRenderer Gain="-2" IsLoggingVerbose="True" MeasureOutputPeak="False")"
              R"( SuggestedBufferCount="1" SuggestedBufferLength="64" UseParallelDecoder="False"/>)");
}

}  // namespace
