#include "orb3core/settings/platformsettings.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
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
using platform::InputSettings;

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

InputSettings::Input ReadInput(const std::string& text, const std::string& waveFile, slib::Log& log) {
    using Input = InputSettings::Input;
    const std::optional<Input> input = text.empty() ? Input::Auto : choiceTexts<Input>.Find(text);
    if (!input)
        log.Write("The setting '/Platform/Input' is '" + text +
                      "', which is none of 'Auto', 'Silent' and 'WaveFile'.",
                  true);
    else if (*input == Input::WaveFile && waveFile.empty())
        log.Write("A file can't be recorded from, since the setting '/Platform/InputFile' names none.", true);
    else
        return *input;
    return Input::Auto;
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

std::string Trimmed(const std::string& text) {
    const std::size_t begin = std::min(text.find_first_not_of(' '), text.size());
    return text.substr(begin, text.find_last_not_of(' ') + 1 - begin);
}

std::optional<slib::StandardFormat> FindSpeakers(const std::string& text) {
    try {
        const slib::StandardFormat format = slib::ParseStandardFormat(text);
        if (format != slib::StandardFormat::Unknown) return format;
    } catch (const slib::BadDataException&) {
    }
    return std::nullopt;
}

std::optional<slib::StandardFormat> ReadSpeakerSetting(const std::string& text, slib::Log& log) {
    if (text.empty()) return std::nullopt;
    const auto format = FindSpeakers(text);
    if (!format)
        log.Write("The setting '/Platform/SpeakerSetting' is '" + text + "', which is no layout of speakers.",
                  true);
    return format;
}

std::map<std::string, slib::StandardFormat> ReadSpeakerSettings(const std::string& text, slib::Log& log) {
    std::map<std::string, slib::StandardFormat> formats;
    for (const auto& [output, speakers] : SplitSpeakerSettings(text)) {
        if (const auto format = FindSpeakers(speakers); format && !output.empty())
            formats[output] = *format;
        else
            log.Write("The setting '/Platform/SpeakerSettings' has '" + output + "=" + speakers +
                          "', which is no device with its layout of speakers.",
                      true);
    }
    return formats;
}

}  // namespace

std::map<std::string, std::string> SplitSpeakerSettings(const std::string& text) {
    std::map<std::string, std::string> parts;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find(';', at), text.size());
        const std::string part = text.substr(at, end - at);
        const std::size_t middle = std::min(part.find('='), part.size());
        const std::string output = Trimmed(part.substr(0, middle));
        const std::string speakers = Trimmed(part.substr(std::min(middle + 1, part.size())));
        if (!output.empty() || !speakers.empty()) parts[output] = speakers;
        at = end + 1;
    }
    return parts;
}

std::string JoinSpeakerSettings(const std::map<std::string, std::string>& parts) {
    std::string text;
    for (const auto& [output, speakers] : parts)
        text += (text.empty() ? "" : "; ") + output + "=" + speakers;
    return text;
}

PlatformSettings ReadPlatformSettings(slib::Log& log) {
    const ConfigStore store(storeRoot, ConfigStore::Scope::User);
    PlatformSettings settings;
    settings.waveFile = store.Read("/Platform/WaveFile", "");
    settings.output = ReadOutput(store.Read("/Platform/Output", ""), settings.waveFile, log);
    settings.waveFileChannels = ReadChannels(store.Read("/Platform/WaveFileChannels", ""), log);
    settings.waveFilePace = ReadPace(store.Read("/Platform/WaveFilePace", ""), log);
    settings.speakerSetting = ReadSpeakerSetting(store.Read("/Platform/SpeakerSetting", ""), log);
    settings.speakerSettings = ReadSpeakerSettings(store.Read(speakerSettingsKey, ""), log);
    return settings;
}

InputSettings ReadInputSettings(slib::Log& log) {
    const ConfigStore store(storeRoot, ConfigStore::Scope::User);
    InputSettings settings;
    settings.waveFile = store.Read("/Platform/InputFile", "");
    settings.input = ReadInput(store.Read("/Platform/Input", ""), settings.waveFile, log);
    return settings;
}

}  // namespace orb3
