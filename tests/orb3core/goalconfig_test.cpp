#include "orb3core/goalconfig.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "orb3core/audiorendererconfig.h"
#include "slib/exception.h"

namespace {

using orb3::AudioRendererConfig;
using orb3::GoalConfig;
using orb3::SampleRateConversion;
using Style = slib::SXMLNode::Style;

const char* const minimal =
    R"(<Tessarune Gain="0.5" DefaultSampleRate="44100" Order="2" SuggestedBufferLength="256")"
    R"( SuggestedBufferCount="2" EffectsQuality="High" SRC="SincLow" IsLoggingVerbose="True")"
    R"( MeasureOutputPeak="False" UseParallelDecoder="True" OnlyOneReverb="True" IgnoreGameSampleRate="True")"
    R"( MasqueradeAsGenericSoftware="True" MasqueradeAsGenericHardware="True"/>)";

// The smallest document with one attribute set to another value.
GoalConfig ReadWith(const std::string& key, const std::string& value) {
    slib::SXMLNode node(minimal);
    node.attributes[key] = value;
    GoalConfig config;
    config.Read(node);
    return config;
}

TEST(GoalConfig, WithoutOptionalKeys_ReadsTheirDefaults) {
    GoalConfig expected;
    expected.gain = 0.5;
    expected.order = 2;
    expected.useDirectionalEarlyReflections = true;
    expected.sampleRateConversion = SampleRateConversion::SincLow;
    expected.isLoggingVerbose = true;
    expected.measureOutputPeak = false;
    expected.useParallelDecoder = expected.onlyOneReverb = expected.ignoreGameSampleRate = true;
    expected.defaultSampleRate = 44100;
    expected.suggestedBufferLength = 256;
    expected.suggestedBufferCount = 2;
    expected.masqueradeAsGenericSoftware = expected.masqueradeAsGenericHardware = true;
    GoalConfig config;
    config.isSuspendSupported = false;
    config.releaseASIOInBackground = true;
    config.defaultFilterOrder = 2;
    config.Read(slib::SXMLNode(minimal));
    EXPECT_TRUE(config == expected);
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

struct Correction {
    const char* key;
    const char* text;
    double expected;
    std::function<double(const GoalConfig&)> field;
};

class Corrections : public testing::TestWithParam<Correction> {};

TEST_P(Corrections, NumberOutOfRange_IsCorrectedInSilence) {
    EXPECT_EQ(GetParam().field(ReadWith(GetParam().key, GetParam().text)), GetParam().expected)
        << GetParam().text;
}

double Gain(const GoalConfig& c) {
    return c.gain;
}
double Order(const GoalConfig& c) {
    return c.order;
}
double Length(const GoalConfig& c) {
    return c.suggestedBufferLength;
}
double Count(const GoalConfig& c) {
    return c.suggestedBufferCount;
}
double Rate(const GoalConfig& c) {
    return c.defaultSampleRate;
}
double FilterOrder(const GoalConfig& c) {
    return c.defaultFilterOrder;
}

INSTANTIATE_TEST_SUITE_P(
    Numbers, Corrections,
    testing::Values(Correction{"Gain", "-1", 1.0, Gain}, Correction{"Gain", "0", 0.0, Gain},
                    Correction{"Gain", "inf", 1.0, Gain}, Correction{"Gain", "nan", 1.0, Gain},
                    Correction{"Gain", "loud", 0.0, Gain}, Correction{"Order", "9", 4, Order},
                    Correction{"Order", "0", 1, Order}, Correction{"Order", "99999999999", 4, Order},
                    Correction{"SuggestedBufferLength", "10", 64, Length},
                    Correction{"SuggestedBufferLength", "-99999999999", 64, Length},
                    Correction{"SuggestedBufferCount", "0", 1, Count},
                    Correction{"DefaultSampleRate", "0", 48000, Rate},
                    Correction{"DefaultSampleRate", "1", 1, Rate},
                    Correction{"DefaultFilterOrder", "2", 2, FilterOrder},
                    Correction{"DefaultFilterOrder", "3", 1, FilterOrder},
                    Correction{"DefaultFilterOrder", "0", 1, FilterOrder}));

TEST(GoalConfig, EffectsQuality_AloneDecidesOnTheReverbFields) {
    struct Case {
        const char* text;
        bool early, late;
        const char* written;
    };
    for (const Case& c : {Case{"High", true, true, "High"}, Case{"Medium", false, true, "Medium"},
                          Case{"Low", false, false, "Low"}, Case{"high", false, true, "Medium"}}) {
        slib::SXMLNode node(minimal);
        node.attributes["EffectsQuality"] = c.text;
        node.attributes["UseFullLateReflections"] = "no bool at all";
        GoalConfig config;
        config.Read(node);
        EXPECT_EQ(config.useDirectionalEarlyReflections, c.early) << c.text;
        EXPECT_EQ(config.useFullLateReflections, c.late) << c.text;
        EXPECT_EQ(config.CreateNode()->GetAttribute("EffectsQuality"), c.written);
    }
}

TEST(GoalConfig, SRC_KeepsKnownTextsAndTurnsOthersIntoLinear) {
    for (const char* text : {"Off", "Linear", "SincLow", "SincMedium", "SincHigh"})
        EXPECT_EQ(ReadWith("SRC", text).CreateNode()->GetAttribute("SRC"), text);
    EXPECT_EQ(ReadWith("SRC", "off").sampleRateConversion, SampleRateConversion::Linear);
    GoalConfig broken;
    broken.sampleRateConversion = static_cast<SampleRateConversion>(5);
    EXPECT_THROW(broken.CreateNode(), slib::IntegrityFailureException);
}

TEST(GoalConfig, MissingRequiredKeys_FailAndLeaveTheRecord) {
    const slib::SXMLNode complete(minimal);
    for (const auto& [key, value] : complete.attributes) {
        slib::SXMLNode node(minimal);
        node.attributes.erase(key);
        GoalConfig config;
        EXPECT_THROW(config.Read(node), slib::BadXMLException) << key;
        EXPECT_TRUE(config == GoalConfig());
    }
    EXPECT_THROW(ReadWith("IsSuspendSupported", "true"), slib::BadDataException);
    EXPECT_THROW(GoalConfig().Read(slib::SXMLNode("<tessarune/>")), slib::BadXMLException);
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
