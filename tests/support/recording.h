#pragma once

// What came out of the library, as frames, and the settings as a user makes them. For tests that are clients
// of the shared library.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/temporaryfolder.h"

namespace testing_support {

/// Frames of interleaved samples.
struct Recording {
    static constexpr float silence = 1e-4F;

    std::size_t Frames() const { return samples.size() / channels; }
    float At(std::size_t frame, std::size_t channel) const { return samples[frame * channels + channel]; }
    bool IsLoud(std::size_t frame) const {
        return std::any_of(&samples[frame * channels], &samples[frame * channels] + channels,
                           [](float sample) { return std::fabs(sample) > silence; });
    }

    /// Begin and end of each sound, which stands between stretches of at least `gap` frames of silence.
    std::vector<std::pair<std::size_t, std::size_t>> Sounds(std::size_t gap) const {
        std::vector<std::pair<std::size_t, std::size_t>> sounds;
        for (std::size_t frame = 0; frame < Frames(); ++frame) {
            if (!IsLoud(frame)) continue;
            if (sounds.empty() || frame > sounds.back().second + gap) sounds.emplace_back(frame, frame);
            sounds.back().second = frame + 1;
        }
        return sounds;
    }

    std::vector<float> samples;
    std::size_t channels;
};

inline std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The WAV file that the library wrote, of 32-bit integers.
inline Recording ReadWaveFile(const std::string& file, std::size_t channels) {
    std::string bytes = ReadFile(file);
    bytes.erase(0, bytes.find("data") + 8);
    std::vector<std::int32_t> integers(bytes.size() / sizeof(std::int32_t));
    std::copy_n(bytes.data(), integers.size() * sizeof(std::int32_t),
                reinterpret_cast<char*>(integers.data()));
    Recording recording{{}, channels};
    recording.samples.reserve(integers.size());
    for (const std::int32_t integer : integers)
        recording.samples.push_back(static_cast<float>(integer / 2147483648.0));
    return recording;
}

/// Runs tessarune-config, as a user does, with a command line.
inline void Configure(const std::string& command) {
    const std::string program = BuildTree() / "bin" / "tessarune-config";
    ASSERT_EQ(std::system((program + " " + command + " > /dev/null").c_str()), 0) << command;
}

}  // namespace testing_support
