#include "pipe/devicesummary.h"

#include <utility>

#include "slib/exception.h"
#include "slib/text.h"

namespace audiopipe {
namespace {

constexpr std::size_t shortestId = 4;

std::string MakeId(const std::string& name, std::uint32_t index) {
    std::string id = slib::KeepAlphanumeric(name);
    return id.size() < shortestId ? "DeviceNU" + std::to_string(std::uint64_t{index} + 1) : id;
}

// The first of `count` channels whose name, which `nameOf` gives, is `wanted`.
template <typename NameOf>
std::uint32_t FindChannel(std::uint32_t count, const NameOf& nameOf, const std::string& wanted,
                          const char* direction, const std::string& id) {
    for (std::uint32_t channel = 0; channel < count; ++channel)
        if (nameOf(channel) == wanted) return channel;
    throw slib::BadParameterException(std::string("Unknown ") + direction + " channel name '" + wanted +
                                      "' in device '" + id + "'.");
}

}  // namespace

DeviceSummary::DeviceSummary(std::string name, std::uint32_t index)
    : name(std::move(name)), id(MakeId(this->name, index)), index(index) {}

std::string DeviceSummary::GetPlaybackDescription() {
    return {};
}

std::string DeviceSummary::GetRecordingDescription() {
    return {};
}

std::uint32_t DeviceSummary::GetPlaybackChannelIndex(const std::string& channelName) {
    return FindChannel(
        GetPlaybackChannelCount(), [this](std::uint32_t c) { return GetPlaybackChannelName(c); }, channelName,
        "playback", id);
}

std::uint32_t DeviceSummary::GetRecordingChannelIndex(const std::string& channelName) {
    return FindChannel(
        GetRecordingChannelCount(), [this](std::uint32_t c) { return GetRecordingChannelName(c); },
        channelName, "recording", id);
}

}  // namespace audiopipe
