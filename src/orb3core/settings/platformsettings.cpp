#include "orb3core/settings/platformsettings.h"

#include <charconv>
#include <optional>
#include <string>

#include "orb3core/settings/choicetexts.h"
#include "orb3core/store/configstore.h"
#include "platform/outputdevice.h"
#include "slib/exception.h"

namespace orb3 {
namespace {

using platform::PlatformSettings;
using Output = PlatformSettings::Output;

Output ReadOutput(const std::string& text, const std::string& waveFile, slib::Log& log) {
    const std::optional<Output> output = text.empty() ? Output::Auto : choiceTexts<Output>.Find(text);
    if (!output)
        log.Write("The setting '/Platform/Output' is '" + text +
                      "', which is none of 'Auto', 'Silent', 'WaveFile', 'PulseAudio', 'JACK' and 'ALSA'.",
                  true);
    else if (*output == Output::WaveFile && waveFile.empty())
        log.Write("The sound can't be written to a file, since the setting '/Platform/WaveFile' names none.",
                  true);
    else
        return *output;
    return Output::Auto;
}

PlatformSettings::Pace ReadPace(const std::string& text, slib::Log& log) {
    constexpr auto byDefault = PlatformSettings::Pace::Renderer;
    if (text == unpaced) return PlatformSettings::Pace::Unpaced;
    const auto pace = text.empty() ? byDefault : choiceTexts<PlatformSettings::Pace>.Find(text);
    if (!pace)
        log.Write("The setting '/Platform/WaveFilePace' is '" + text +
                      "', which is neither 'Renderer' nor 'RealTime'.",
                  true);
    return pace.value_or(byDefault);
}

std::uint32_t ReadChannels(const std::string& text, slib::Log& log) {
    const std::uint32_t least = PlatformSettings().waveFileChannels;
    if (text.empty()) return least;
    std::uint32_t channels = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, channels);
    if (result.ec == std::errc() && result.ptr == end && channels >= least &&
        channels <= platform::mostOutputChannels)
        return channels;
    log.Write("The setting '/Platform/WaveFileChannels' is '" + text + "', which is no number from 8 to 64.",
              true);
    return least;
}

std::optional<slib::StandardFormat> ReadSpeakerSetting(const std::string& text, slib::Log& log) {
    if (text.empty()) return std::nullopt;
    try {
        const slib::StandardFormat format = slib::ParseStandardFormat(text);
        if (format != slib::StandardFormat::Unknown) return format;
    } catch (const slib::BadDataException&) {
    }
    log.Write("The setting '/Platform/SpeakerSetting' is '" + text + "', which is no layout of speakers.",
              true);
    return std::nullopt;
}

}  // namespace

PlatformSettings ReadPlatformSettings(slib::Log& log) {
    const ConfigStore store(storeRoot, ConfigStore::Scope::User);
    PlatformSettings settings;
    settings.waveFile = store.Read("/Platform/WaveFile", "");
    settings.output = ReadOutput(store.Read("/Platform/Output", ""), settings.waveFile, log);
    settings.waveFileChannels = ReadChannels(store.Read("/Platform/WaveFileChannels", ""), log);
    settings.waveFilePace = ReadPace(store.Read("/Platform/WaveFilePace", ""), log);
    settings.speakerSetting = ReadSpeakerSetting(store.Read("/Platform/SpeakerSetting", ""), log);
    return settings;
}

}  // namespace orb3
