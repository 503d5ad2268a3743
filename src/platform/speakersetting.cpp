#include "platform/speakersetting.h"

#include <string>

#include "platform/directsound.h"
#include "slib/exception.h"
#include "slib/text.h"

namespace platform {
namespace {

// No sound card has more; a driver that claims to is one that converts anything, and says nothing about the
// speakers behind it.
constexpr std::uint32_t mostChannels = 32;

bool SoundsLikeHeadphones(std::string_view name) {
    const std::string lower = slib::toLower(name);
    return lower.find("headphone") != std::string::npos || lower.find("headset") != std::string::npos;
}

}  // namespace

std::uint32_t SpeakerSettingOf(slib::StandardFormat format) {
    switch (format) {
        case slib::StandardFormat::Unknown:
            return DSSPEAKER_DIRECTOUT;
        case slib::StandardFormat::Mono:
            return DSSPEAKER_MONO;
        case slib::StandardFormat::Stereo:
            return DSSPEAKER_STEREO;
        case slib::StandardFormat::HeadphoneStereo:
            return DSSPEAKER_HEADPHONE;
        case slib::StandardFormat::SurroundStereo:
            return DSSPEAKER_SURROUND;
        case slib::StandardFormat::Quad:
            return DSSPEAKER_QUAD;
        case slib::StandardFormat::Surround51:
            return DSSPEAKER_5POINT1;
        case slib::StandardFormat::Surround51ITU:
            return DSSPEAKER_5POINT1_SURROUND;
        case slib::StandardFormat::Surround71:
            return DSSPEAKER_7POINT1_SURROUND;
        case slib::StandardFormat::Surround71Wide:
            return DSSPEAKER_7POINT1;
    }
    slib::ThrowUnreachable();
}

std::uint32_t GuessSpeakerSetting(std::uint32_t channelCount, std::string_view deviceName) {
    if (channelCount == 1) return DSSPEAKER_MONO;
    if (channelCount >= 8 && channelCount <= mostChannels) return DSSPEAKER_7POINT1_SURROUND;
    if (channelCount == 6 || channelCount == 7) return DSSPEAKER_5POINT1;
    if (channelCount == 4 || channelCount == 5) return DSSPEAKER_QUAD;
    return SoundsLikeHeadphones(deviceName) ? DSSPEAKER_HEADPHONE : DSSPEAKER_STEREO;
}

}  // namespace platform
