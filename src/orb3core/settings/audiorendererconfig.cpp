#include "orb3core/settings/audiorendererconfig.h"

#include <algorithm>

#include "slib/text.h"

namespace orb3 {

void AudioRendererConfig::Read(const slib::SXMLNode& node) {
    node.CheckLabel("AudioRenderer");
    AudioRendererConfig fresh;
    fresh.gain = slib::ParseFiniteDouble(node.GetAttribute("Gain"));
    fresh.suggestedBufferLength = std::max(slib::ParseInt(node.GetAttribute("SuggestedBufferLength")), 64);
    fresh.suggestedBufferCount = std::max(slib::ParseInt(node.GetAttribute("SuggestedBufferCount")), 1);
    fresh.isLoggingVerbose = slib::ParseBool(node.GetAttribute("IsLoggingVerbose"));
    fresh.measureOutputPeak = slib::ParseBool(node.GetAttribute("MeasureOutputPeak"));
    fresh.useParallelDecoder = slib::ParseBool(node.GetAttribute("UseParallelDecoder"));
    *this = fresh;
}

std::unique_ptr<slib::SXMLNode> AudioRendererConfig::CreateNode() const {
    auto node = std::make_unique<slib::SXMLNode>();
    node->label = "AudioRenderer";
    node->attributes = {
        {"Gain", slib::FormatNumber(gain)},
        {"SuggestedBufferLength", slib::FormatNumber(suggestedBufferLength)},
        {"SuggestedBufferCount", slib::FormatNumber(suggestedBufferCount)},
        {"IsLoggingVerbose", slib::FormatBool(isLoggingVerbose)},
        {"MeasureOutputPeak", slib::FormatBool(measureOutputPeak)},
        {"UseParallelDecoder", slib::FormatBool(useParallelDecoder)},
    };
    return node;
}

}  // namespace orb3
