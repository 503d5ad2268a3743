#pragma once

// What came out of the library, as frames, and the settings as a user makes them. For tests that are clients
// of the shared library.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/temporaryfolder.h"

namespace testing_support {

/// Begin and end of what isn't silent, in frames.
using Sound = std::pair<std::size_t, std::size_t>;

/// Frames of interleaved samples.
struct Recording {
    static constexpr float silence = 1e-4F;

    std::size_t Frames() const { return samples.size() / channels; }
    float At(std::size_t frame, std::size_t channel) const { return samples[frame * channels + channel]; }

    /// All sounds, between which stand stretches of at least `gap` frames of silence.
    std::vector<Sound> Sounds(std::size_t gap) const {
        std::vector<Sound> sounds;
        for (std::size_t i = 0; i < samples.size(); ++i) {
            if (std::fabs(samples[i]) <= silence) continue;
            const std::size_t frame = i / channels;
            if (sounds.empty() || frame > sounds.back().second + gap) sounds.emplace_back(frame, frame);
            sounds.back().second = frame + 1;
        }
        return sounds;
    }

    /// The root mean square of each channel.
    std::vector<double> Levels(const Sound& sound) const {
        std::vector<double> levels(channels);
        for (std::size_t i = sound.first * channels; i < sound.second * channels; ++i)
            levels[i % channels] += double{samples[i]} * double{samples[i]};
        for (double& level : levels)
            level = std::sqrt(level / static_cast<double>(sound.second - sound.first));
        return levels;
    }

    std::vector<float> samples;
    std::size_t channels;
};

/// The WAV file of 32-bit integers at 48 kHz that the library wrote, as far as its header counts; nothing
/// where that isn't as published.
inline Recording ReadWaveFile(const std::string& file, std::size_t channels) {
    const std::string bytes = ReadFile(file);
    const auto number = [&](std::size_t at) {
        std::uint32_t value = 0;
        std::memcpy(&value, bytes.data() + at, sizeof value);
        return value;
    };
    Recording recording{{}, channels};
    const std::size_t begin = std::min(bytes.find("data"), bytes.size()) + 8;
    if (begin > bytes.size() || !bytes.starts_with("RIFF") || number(4) + 8 > bytes.size() ||
        number(24) != 48000 || number(begin - 4) > bytes.size() - begin)
        return recording;
    for (std::size_t at = begin; at < begin + number(begin - 4); at += sizeof(std::int32_t))
        recording.samples.push_back(static_cast<float>(static_cast<std::int32_t>(number(at)) / 2147483648.0));
    return recording;
}

/// Runs tessarune-config, as a user does, with a command line.
inline void Configure(const std::string& command) {
    const std::string program = BuildTree() / "bin" / "tessarune-config";
    ASSERT_EQ(std::system((program + " " + command + " > /dev/null").c_str()), 0) << command;
}

}  // namespace testing_support
