#pragma once

// The sounds and scenes that are played to the plain formulas (plainsound.h).

#include <cmath>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "AL/tessarune.h"
#include "tests/app/plainsound.h"

namespace plain {

// ---- Sounds ----

constexpr std::size_t shortSound = 2000;  // frames

// Smooth, without a period, and at once there.
inline double Tone(double t) {
    return 0.25 * std::cos(t * 0.0577) + 0.2 * std::sin(t * 0.1614 + t * t * 2e-5) +
           0.1 * std::sin(t * 1.3 + 2);
}

inline Sound Tones(ALenum format, std::vector<double> azimuths, std::size_t channels, double rate = 48000,
                   double scale = 1, std::size_t frames = shortSound) {
    Sound sound{format, rate, scale, {}, std::move(azimuths)};
    for (std::size_t channel = 0; channel < channels; ++channel) {
        sound.raw.emplace_back();
        for (std::size_t i = 0; i < frames; ++i) {
            const double value = Tone(static_cast<double>(i + 777 * channel)) / scale;
            sound.raw.back().push_back(scale == 1 ? double{static_cast<float>(value)} : std::round(value));
        }
    }
    return sound;
}

inline Sound Mono(double rate = 48000, std::size_t frames = shortSound) {
    return Tones(AL_FORMAT_MONO_FLOAT32, {}, 1, rate, 1, frames);
}

inline Sound Looping(Sound sound) {
    sound.isLooping = true;
    return sound;
}

inline Sound InPieces(Sound sound) {
    sound.pieces = 4;
    return sound;
}

// Blocks that stand at one value each, as codes of 0 do at the smallest step.
inline Sound Ima() {
    Sound sound{AL_FORMAT_MONO_IMA4, 32000, 1.0 / 32768, {{}}};
    for (int block = 0; block < 20; ++block) {
        const int value = 9000 - block * block * 40;
        sound.raw[0].insert(sound.raw[0].end(), 65, value);
        sound.bytes.push_back(static_cast<unsigned char>(value));
        sound.bytes.push_back(static_cast<unsigned char>(value >> 8));
        sound.bytes.resize(sound.bytes.size() + 34);
    }
    return sound;
}

/// A sound as the game hands it over.
inline std::vector<unsigned char> Bytes(const Sound& sound) {
    if (!sound.bytes.empty()) return sound.bytes;
    std::vector<unsigned char> bytes;
    const auto add = [&](auto value) {
        const auto* const begin = reinterpret_cast<const unsigned char*>(&value);
        bytes.insert(bytes.end(), begin, begin + sizeof value);
    };
    for (std::size_t i = 0; i < sound.raw[0].size(); ++i)
        for (const std::vector<double>& channel : sound.raw)
            if (sound.scale == 1)
                add(static_cast<float>(channel[i]));
            else if (sound.scale > 0.001)
                add(static_cast<unsigned char>(channel[i] + 128));
            else
                add(static_cast<std::int16_t>(channel[i]));
    return bytes;
}

// ---- Scenes ----

/// A sound, and what the game sets before it starts and then, if it loops, while it plays.
struct Row {
    std::string name;
    Sound sound;
    std::vector<Scene> stages;
    double tolerance = 1e-6;  // of full scale
};

inline const Sound mono = Mono(), loop = Looping(Mono(48000, 3000)),
                   stereo = Tones(AL_FORMAT_STEREO_FLOAT32, {30, -30}, 2),
                   field = Tones(AL_FORMAT_BFORMAT3D_FLOAT32, {}, 4),
                   flatField = Tones(AL_FORMAT_BFORMAT2D_FLOAT32, {}, 3);
constexpr Floats3 aside{-1.3F, 0.4F, -0.9F}, ahead{0, 0, -2};

// clang-format off
inline const std::vector<Row> readers = {
    {"48 kHz", mono, {{}}},
    {"44.1 kHz", Mono(44100), {{}}},
    {"192 kHz", Mono(192000, 8000), {{}}},
    {"low pitch", Mono(22050, 300), {{.pitch = 0.3F}}},
    {"pitch that changes", Looping(Mono(44100)), {{.pitch = 0.75F}, {.pitch = 1.625F}, {.pitch = 1}}},
    {"short loop", Looping(Mono(44100, 301)), {{.pitch = 1.5F}}},
    {"queue", InPieces(Mono(44100)), {{}}},
    {"8 bits", Tones(AL_FORMAT_MONO8, {}, 1, 44100, 1.0 / 128), {{.position = aside}}},
    {"16 bits", Tones(AL_FORMAT_MONO16, {}, 1, 44100, 1.0 / 32768), {{.position = aside}}},
    {"IMA ADPCM loop", Looping(Ima()), {{.pitch = 1.5F}}},
    {"stereo", stereo, {{.gain = 0.7F, .pitch = 0.8125F}}},
    {"B-format", field, {{.pitch = 0.8125F, .at = {1, 2, 3}, .up = {0, 3, -2}}}},
    {"a place that changes", loop, {{.position = aside}, {.position = {2, 0, 1}}}},
};

inline const std::vector<Row> places = {
    {"between", mono, {{.position = aside}}},
    {"at the listener", mono, {{}}},
    {"relative", mono, {{.isRelative = true, .position = aside, .listenerPosition = {5, 6, 7}, .listenerAt = {1, 0, 0}}}},
    {"listener", mono, {{.position = aside, .listenerPosition = {-2, 0.5F, 0.25F}, .listenerAt = {1, 2, -2}, .listenerUp = {-4, 4, 2}}}},
    {"no distance", mono, {{.model = AL_NONE, .position = {0, 0, 9}}}},
    {"limits below", mono, {{.minGain = 0.4F, .position = {0, 0, 9}}}},
    {"limits above", mono, {{.gain = 5, .maxGain = 0.6F, .position = {0, 0, 3}}}},
    {"inside the cone", mono, {{.innerAngle = 90, .outerAngle = 180, .outerGain = 0.1F, .position = ahead, .direction = {0.1F, 0, 1}}}},
    {"edge of the cone", mono, {{.innerAngle = 60, .outerAngle = 200, .outerGain = 0.1F, .outerGainHF = 0.4F, .position = ahead, .direction = {0.8F, 0, 0.6F}}}},
    {"outside the cone", mono, {{.innerAngle = 60, .outerAngle = 100, .outerGain = 0.2F, .outerGainHF = 0.3F, .position = ahead, .direction = {0, 0, -1}}}},
    {"cone without high frequencies", mono, {{.innerAngle = 60, .outerAngle = 100, .outerGain = 0.2F, .outerGainHF = 0.3F, .isHighByCone = false, .position = ahead, .direction = {0, 0, -1}}}},
    {"air", mono, {{.airAbsorption = 4, .metersPerUnit = 2.5F, .position = {0, 0, 12}}}},
    {"Doppler of both", mono, {{.position = {3, 0, -4}, .velocity = {10, 0, 30}, .dopplerFactor = 1.5F, .dopplerVelocity = 0.9F, .speedOfSound = 300, .listenerVelocity = {-15, 3, -9}}}},
    {"Doppler, relative", mono, {{.isRelative = true, .position = {0, 1, -4}, .velocity = {10, 0, -60}, .listenerVelocity = {-15, 3, -9}}}},
    {"radius", mono, {{.radius = 1.5F, .position = aside}}},
    {"radius, far", mono, {{.radius = 0.01F, .position = aside}}},
    {"radius, near", mono, {{.radius = 10, .position = {0, 0.05F, -0.01F}}}},
    {"stereo angles", stereo, {{.gain = 2, .position = aside, .stereoAngles = {{1.2F, -2.1F}}}}},
    {"quad", Tones(AL_FORMAT_QUAD32, {45, -45, 135, -135}, 4), {{}}},
    {"B-format turned", field, {{.at = {-1, 0.5F, 3}, .up = {2, 4, 0}, .listenerAt = {1, 0, 1}, .listenerUp = {-1, 1, 1}}}},
    {"B-format, relative", flatField, {{.isRelative = true, .at = {-1, 0.5F, 3}, .up = {2, 4, 0}, .listenerAt = {1, 0, 1}}}},
};

inline const std::vector<Row> filters = {
    {"low-pass", mono, {{.filterGain = 0.8F, .gainHF = 0.25F}}},
    {"high-pass", mono, {{.filterGain = 0.8F, .gainLF = 0.25F}}},
    {"band-pass", mono, {{.filterGain = 0.8F, .gainHF = 0.9F, .gainLF = 0.01F}}},
    {"nothing high", mono, {{.gainHF = 0.001F, .gainLF = 0.995F}}},
    {"gain that changes", loop, {{.gain = 0.9F}, {.gain = 0.2F}, {.gain = 0.65F}}},
    {"listener's gain that changes", loop, {{.position = aside}, {.position = aside, .listenerGain = 0.13F}, {.position = aside, .listenerGain = 0}, {.position = aside}}},
    {"low-pass that changes", loop, {{.gainHF = 0.5F}, {.gainHF = 0.1F}, {.gain = 0.5F, .gainHF = 0.9F}}},
    {"low-pass that closes", loop, {{}, {.gainHF = 0.4F}}},
    {"high-pass that changes", loop, {{.gainLF = 0.5F}, {.gainLF = 0.1F}, {.gain = 0.5F, .gainLF = 0.9F}}},
    {"high-pass that closes", loop, {{}, {.gainLF = 0.4F}}},
    {"stereo, filtered", stereo, {{.gain = 0.7F, .filterGain = 0.8F, .gainHF = 0.3F, .gainLF = 0.6F}}},
    {"stereo that is muffled", Looping(stereo), {{.gain = 0.5F, .gainHF = 0.3F}, {.gain = 0.5F, .gainHF = 0, .gainLF = 0.6F}}},
};

// Long enough for the path to fall silent.
inline const std::vector<Row> silences = {
    {"gain to nothing and back", loop, {{.gain = 0.02F, .gainHF = 0.5F}, {.gain = 0, .gainHF = 0.5F}, {.gain = 0.8F, .gainHF = 0.5F}}},
    {"stereo to nothing and back", Looping(stereo), {{.gain = 0.02F}, {.gain = 0}, {.gain = 0.8F}}},
    {"high-pass that lets nothing through", loop, {{.gainLF = 0.01F}, {.gainLF = 0}, {.gainLF = 0.5F}}},
};

inline const std::vector<Row> openings = {
    {"low-pass that opens", loop, {{.gainHF = 0.5F}, {.gainHF = 1}}},
    {"low-pass that opens with the gain", loop, {{.gain = 0.1F, .gainHF = 0.5F}, {.gain = 1}}},
    // What a second-order section holds in floats is thousands of times its output.
    {"high-pass that opens", loop, {{.gainLF = 0.5F}, {.gainLF = 1}}, 1e-4},
};
// Each distance model inside the reference distance, between, and beyond the greatest.
inline std::vector<Row> Distances() {
    std::vector<Row> rows;
    for (const float distance : {1.0F, 5.0F, 30.0F})
        for (const auto& [name, model] : {std::pair{"inverse", AL_INVERSE_DISTANCE}, {"inverse clamped", AL_INVERSE_DISTANCE_CLAMPED},
                                          {"linear", AL_LINEAR_DISTANCE}, {"linear clamped", AL_LINEAR_DISTANCE_CLAMPED},
                                          {"exponent", AL_EXPONENT_DISTANCE}, {"exponent clamped", AL_EXPONENT_DISTANCE_CLAMPED}})
            rows.push_back({std::string(name).append(" at ").append(std::to_string(static_cast<int>(distance))), Mono(48000, 600), {{.gain = 0.5F, .model = model, .reference = 2, .maxDistance = 20, .rolloff = 0.7F, .position = {distance, 0, 0}}}});
    return rows;
}
inline const std::vector<Row> distances = Distances();
// clang-format on

}  // namespace plain
