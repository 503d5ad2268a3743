#include "tools/manage/connection.h"

#include <cstddef>
#include <cstdint>

#include "orb3core/setup/devicelookup.h"
#include "orb3core/setup/speakerconnection.h"

namespace tool {

void ConnectTo(audiopipe::Device& device, orb3::spk::Layout& layout) {
    const std::vector<std::string> outputs = orb3::PlaybackChannelNames(device);
    const std::vector<std::uint32_t> connected = orb3::ConnectSpeakers(layout.speakers, outputs);
    for (std::size_t i = 0; i < connected.size(); ++i)
        layout.channels[i].pipePlaybackChannel = outputs[connected[i]];
}

std::vector<std::string> BassWarnings(const orb3::spk::Layout& layout) {
    std::vector<std::string> warnings;
    for (const std::size_t i : orb3::SpeakersOnBassOutputs(layout)) {
        const std::string &speaker = layout.speakers[i].label,
                          &output = layout.channels[i].pipePlaybackChannel;
        warnings.push_back("'" + speaker + "' plays on '" + output +
                           "', from which most systems let only bass through. Give it another output with "
                           "'tessarune-config speakers set', or choose a device with more outputs.");
    }
    return warnings;
}

}  // namespace tool
