#include "orb3core/settings/goalconfig.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <string>
#include <string_view>

#include "slib/exception.h"
#include "slib/text.h"

namespace orb3 {
namespace {

// Indexed by the value of the conversion.
constexpr std::array<std::string_view, 5> conversionTexts{"Off", "Linear", "SincLow", "SincMedium",
                                                          "SincHigh"};

SampleRateConversion ParseConversion(std::string_view text) {
    const auto found = std::find(conversionTexts.begin(), conversionTexts.end(), text);
    if (found == conversionTexts.end()) return SampleRateConversion::Linear;
    return static_cast<SampleRateConversion>(found - conversionTexts.begin());
}

std::string ConversionText(SampleRateConversion conversion) {
    const auto index = static_cast<std::size_t>(conversion);
    if (index >= conversionTexts.size()) slib::ThrowUnreachable("orb3core/goalconfig", __LINE__);
    return std::string(conversionTexts[index]);
}

std::string EffectsQualityText(const GoalConfig& config) {
    if (config.useDirectionalEarlyReflections) return "High";
    return config.useFullLateReflections ? "Medium" : "Low";
}

double CorrectedGain(double gain) {
    return std::isfinite(gain) && gain >= 0.0 ? gain : 1.0;
}

bool RequiredBool(const slib::SXMLNode& node, std::string_view name) {
    return slib::ParseBool(node.GetAttribute(name));
}

bool OptionalBool(const slib::SXMLNode& node, std::string_view name, bool absent) {
    return node.HasAttribute(name) ? RequiredBool(node, name) : absent;
}

int OptionalFilterOrder(const slib::SXMLNode& node) {
    if (!node.HasAttribute("DefaultFilterOrder")) return 1;
    return slib::ParseInt(node.GetAttribute("DefaultFilterOrder")) == 2 ? 2 : 1;
}

}  // namespace

void GoalConfig::Read(const slib::SXMLNode& node) {
    node.CheckLabel("Tessarune");
    GoalConfig fresh;
    fresh.gain = CorrectedGain(slib::ParseDouble(node.GetAttribute("Gain")));
    const int rate = slib::ParseInt(node.GetAttribute("DefaultSampleRate"));
    fresh.defaultSampleRate = rate < 1 ? 48000 : rate;
    fresh.order = std::clamp(slib::ParseInt(node.GetAttribute("Order")), 1, 4);
    fresh.suggestedBufferLength = std::max(slib::ParseInt(node.GetAttribute("SuggestedBufferLength")), 64);
    fresh.suggestedBufferCount = std::max(slib::ParseInt(node.GetAttribute("SuggestedBufferCount")), 1);
    const std::string& quality = node.GetAttribute("EffectsQuality");
    fresh.useDirectionalEarlyReflections = quality == "High";
    fresh.useFullLateReflections = quality != "Low";
    fresh.sampleRateConversion = ParseConversion(node.GetAttribute("SRC"));
    fresh.isLoggingVerbose = RequiredBool(node, "IsLoggingVerbose");
    fresh.isSuspendSupported = OptionalBool(node, "IsSuspendSupported", true);
    fresh.measureOutputPeak = RequiredBool(node, "MeasureOutputPeak");
    fresh.useParallelDecoder = RequiredBool(node, "UseParallelDecoder");
    fresh.onlyOneReverb = RequiredBool(node, "OnlyOneReverb");
    fresh.ignoreGameSampleRate = RequiredBool(node, "IgnoreGameSampleRate");
    fresh.releaseASIOInBackground = OptionalBool(node, "ReleaseASIOInBackground", false);
    fresh.defaultFilterOrder = OptionalFilterOrder(node);
    fresh.masqueradeAsGenericSoftware = RequiredBool(node, "MasqueradeAsGenericSoftware");
    fresh.masqueradeAsGenericHardware = RequiredBool(node, "MasqueradeAsGenericHardware");
    *this = fresh;
}

// The two reverb fields are also written one by one, for people who read the document; only EffectsQuality is
// read back.
std::unique_ptr<slib::SXMLNode> GoalConfig::CreateNode() const {
    auto node = std::make_unique<slib::SXMLNode>();
    node->label = "Tessarune";
    node->attributes = {
        {"Gain", slib::FormatNumber(gain)},
        {"DefaultSampleRate", slib::FormatNumber(defaultSampleRate)},
        {"Order", slib::FormatNumber(order)},
        {"SuggestedBufferLength", slib::FormatNumber(suggestedBufferLength)},
        {"SuggestedBufferCount", slib::FormatNumber(suggestedBufferCount)},
        {"EffectsQuality", EffectsQualityText(*this)},
        {"UseDirectionalEarlyReflections", slib::FormatBool(useDirectionalEarlyReflections)},
        {"UseFullLateReflections", slib::FormatBool(useFullLateReflections)},
        {"SRC", ConversionText(sampleRateConversion)},
        {"IsLoggingVerbose", slib::FormatBool(isLoggingVerbose)},
        {"IsSuspendSupported", slib::FormatBool(isSuspendSupported)},
        {"MeasureOutputPeak", slib::FormatBool(measureOutputPeak)},
        {"UseParallelDecoder", slib::FormatBool(useParallelDecoder)},
        {"OnlyOneReverb", slib::FormatBool(onlyOneReverb)},
        {"IgnoreGameSampleRate", slib::FormatBool(ignoreGameSampleRate)},
        {"ReleaseASIOInBackground", slib::FormatBool(releaseASIOInBackground)},
        {"DefaultFilterOrder", slib::FormatNumber(defaultFilterOrder)},
        {"MasqueradeAsGenericSoftware", slib::FormatBool(masqueradeAsGenericSoftware)},
        {"MasqueradeAsGenericHardware", slib::FormatBool(masqueradeAsGenericHardware)},
    };
    return node;
}

}  // namespace orb3
