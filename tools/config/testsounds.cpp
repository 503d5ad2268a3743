#include "tools/config/testsounds.h"

#include <optional>

#include "tools/sounds/voices.h"

namespace tool {
namespace {

using orb3::spk::Role;

constexpr double noiseLength = 1.5;  // s

// The voice for a speaker; null for those that none speaks for.
const Voice* FindVoice(Role role) {
    const auto named = [](const char* file) {
        for (const Voice& voice : Voices())
            if (voice.file == file) return &voice;
        return static_cast<const Voice*>(nullptr);
    };
    switch (role) {
        case Role::FrontLeft:
            return named("Front_Left");
        case Role::FrontRight:
            return named("Front_Right");
        case Role::FrontCentre:
        case Role::FrontCentreDialogue:
            return named("Front_Center");
        case Role::BackLeft:
            return named("Rear_Left");
        case Role::BackRight:
            return named("Rear_Right");
        case Role::BackCentre:
            return named("Rear_Center");
        case Role::SideLeft:
            return named("Side_Left");
        case Role::SideRight:
            return named("Side_Right");
        case Role::Unknown:
        case Role::BassManaged:
        case Role::BassLFE:
            return nullptr;
    }
    return nullptr;
}

}  // namespace

Sound SoundFor(const orb3::spk::Speaker& speaker, bool isNoise) {
    const Voice* const voice = isNoise ? nullptr : FindVoice(speaker.role);
    std::optional<Sound> recording;
    if (voice != nullptr) recording = FindRecording(*voice, voiceFolder);
    return recording ? *recording : MakeNoise(noiseLength);
}

}  // namespace tool
