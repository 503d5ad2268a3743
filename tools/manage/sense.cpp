#include "tools/manage/sense.h"

#include <algorithm>
#include <string>
#include <vector>

#include "slib/text.h"
#include "tools/support/wronguse.h"

namespace tool {
namespace {

void NoteGain(const std::string& what, double gain, std::vector<std::string>& doubts) {
    constexpr double greatest = 100;
    if (gain > greatest) doubts.push_back(what + " of " + slib::FormatNumber(gain) + " is above 100.");
}

void NoteLatency(const orb3::GoalConfig& settings, std::vector<std::string>& doubts) {
    constexpr double longest = 2;  // s
    const double seconds = static_cast<double>(settings.suggestedBufferLength) *
                           settings.suggestedBufferCount / settings.defaultSampleRate;
    if (seconds > longest)
        doubts.push_back(std::to_string(settings.suggestedBufferCount) + " blocks of " +
                         std::to_string(settings.suggestedBufferLength) + " frames at " +
                         std::to_string(settings.defaultSampleRate) +
                         "Hz would delay the sound by more than two seconds.");
}

std::vector<std::string> DoubtsAbout(const orb3::Configuration& configuration) {
    std::vector<std::string> doubts;
    NoteGain("A Gain", configuration.goalConfig.gain, doubts);
    NoteGain("An AudioRenderer.Gain", configuration.audioRendererConfig.gain, doubts);
    NoteLatency(configuration.goalConfig, doubts);
    for (const auto& layout : configuration.layouts) {
        const std::string where = " in layout '" + layout->format + "'";
        NoteGain("A gain" + where, layout->gain, doubts);
        for (const orb3::spk::Channel& channel : layout->channels)
            NoteGain("A gain of output '" + channel.pipePlaybackChannel + "'" + where, channel.gain, doubts);
    }
    return doubts;
}

}  // namespace

void CheckSense(const orb3::Configuration& before, const orb3::Configuration& after) {
    const std::vector<std::string> old = DoubtsAbout(before);
    for (const std::string& doubt : DoubtsAbout(after))
        if (std::find(old.begin(), old.end(), doubt) == old.end())
            throw WrongUse(doubt + " Nothing was changed; with --force it would be.");
}

}  // namespace tool
