#include "tools/config/directtest.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iostream>
#include <memory>
#include <optional>
#include <vector>

#include "orb3core/setup/devicelookup.h"
#include "orb3core/setup/outputsetup.h"
#include "tools/config/commands.h"
#include "tools/config/testsounds.h"
#include "tools/manage/storedvalues.h"
#include "tools/support/terminal.h"

namespace tool {
namespace {

using orb3::spk::Layout;

constexpr double pause = 0.25;  // s

std::vector<std::size_t> ChosenOutputs(const std::vector<std::string>& names, const std::string& chosen) {
    std::vector<std::size_t> outputs;
    for (std::size_t i = 0; i < names.size(); ++i)
        if (chosen.empty() || chosen == std::to_string(i + 1)) outputs.push_back(i);
    if (const auto named = orb3::FindChannel(names, chosen); outputs.empty() && named)
        outputs.push_back(*named);
    if (!outputs.empty()) return outputs;
    std::string known;
    for (const std::string& name : names)
        known += (known.empty() ? "" : ", ") + name;
    throw WrongUse("The output must be one of " + known + ", not '" + chosen + "'.");
}

// None where the layout leaves the output silent.
std::optional<orb3::spk::Speaker> SpeakerOn(const Layout& layout, const std::string& output) {
    for (std::size_t i = 0; i < std::min(layout.speakers.size(), layout.channels.size()); ++i)
        if (layout.channels[i].pipePlaybackChannel == output) return layout.speakers[i];
    return std::nullopt;
}

// Linear interpolation is enough to tell speakers by.
float At(const Sound& sound, double seconds) {
    const double place = std::fmod(seconds, sound.Seconds()) * sound.rate;
    const auto frame = static_cast<std::size_t>(place);
    const auto part = static_cast<float>(place - static_cast<double>(frame));
    const std::size_t last = sound.samples.size() - 1;
    const float now = sound.samples[std::min(frame, last)], next = sound.samples[std::min(frame + 1, last)];
    return (now + part * (next - now)) / 32768;
}

// A pipe with all outputs of a device, which plays from its making on.
class Player {
public:
    Player(audiopipe::Device& device, const orb3::OutputRequest& request, slib::Log& log)
        : outputs(device.GetPlaybackChannelCount()),
          gain(static_cast<float>(request.gain)),
          pipe(device.OpenPipe(&log, request.sampleRate, request.bufferLength, request.bufferCount,
                               std::vector<bool>(outputs, true),
                               std::vector<bool>(device.GetRecordingChannelCount()))),
          block(std::size_t{pipe->GetBufferLength()} * outputs) {
        pipe->Start();
    }
    // Not before all is heard.
    ~Player() {
        try {
            PlaySilence(pipe->GetLatency() / pipe->GetSampleRate() + pause);
            pipe->Stop();
        } catch (const std::exception& failure) {
            Complain(failure.what());
        }
    }
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    void Play(std::size_t output, const Sound& sound, double seconds) {
        for (std::uint32_t b = 0; b < BlocksIn(seconds); ++b) {
            for (std::uint32_t f = 0; f < pipe->GetBufferLength(); ++f) {
                const double now = (b * pipe->GetBufferLength() + f) / pipe->GetSampleRate();
                block[f * outputs + output] = now < seconds ? gain * At(sound, now) : 0;
            }
            pipe->Write(block.data(), nullptr);
        }
        std::fill(block.begin(), block.end(), 0.0F);
        PlaySilence(pause);
    }

private:
    std::uint32_t BlocksIn(double seconds) const {
        return static_cast<std::uint32_t>(
            std::ceil(seconds * pipe->GetSampleRate() / pipe->GetBufferLength()));
    }

    void PlaySilence(double seconds) {
        for (std::uint32_t b = 0; b < BlocksIn(seconds); ++b)
            pipe->Write(nullptr, nullptr);
    }

    const std::size_t outputs;
    const float gain;
    const std::unique_ptr<audiopipe::Pipe> pipe;
    std::vector<float> block;
};

}  // namespace

void TestOutputs(audiopipe::Device& device, const Layout& layout, const DirectTest& test, slib::Log& log) {
    const std::vector<std::string> names = orb3::PlaybackChannelNames(device);
    const std::vector<std::size_t> chosen = ChosenOutputs(names, test.output);
    Player player(device, orb3::RequestFor(ReadDocument().goalConfig, 0), log);
    for (const std::size_t output : chosen) {
        const auto speaker = SpeakerOn(layout, names[output]);
        std::cout << "  " << output + 1 << "  " << names[output] << ": "
                  << (speaker ? "'" + speaker->label + "' of " + layout.format
                              : "no speaker of " + layout.format)
                  << std::endl;
        const Sound sound = SoundFor(speaker.value_or(orb3::spk::Speaker()), test.isNoise);
        player.Play(output, sound, test.seconds > 0 ? test.seconds : sound.Seconds());
    }
}

}  // namespace tool
