#include "tools/sounds/voices.h"

#include "slib/files.h"

namespace tool {

const std::vector<Voice>& Voices() {
    static const std::vector<Voice> voices{
        {"Front_Center", "front centre", 0}, {"Front_Left", "front left", 30},
        {"Side_Left", "side left", 90},      {"Rear_Left", "rear left", 150},
        {"Rear_Center", "rear centre", 180}, {"Rear_Right", "rear right", -150},
        {"Side_Right", "side right", -90},   {"Front_Right", "front right", -30}};
    return voices;
}

std::optional<Sound> FindRecording(const Voice& voice, const std::string& folder) {
    const std::string path = folder + "/" + voice.file + ".wav";
    if (!slib::fileExists(path)) return std::nullopt;
    return ReadSoundFile(path);
}

}  // namespace tool
