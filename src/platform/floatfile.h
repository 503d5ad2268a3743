#pragma once

// A sound file in 32-bit floats that is being written: WAV, which becomes RF64 where it passes 4 GiB, or CAF,
// by the end of its name. Readable at any time up to its last header. One thread at a time.

#include <cstdint>
#include <memory>
#include <string>

namespace platform {

class SoundFileTarget;

class FloatFile {
public:
    /// Replaces what is at `path`, which ends in ".wav" or ".caf". `comment` goes into the file where its
    /// form has a place for one. Throws slib::BadStateException, which says why, when it can't be made.
    FloatFile(const std::string& path, std::uint32_t channels, std::uint32_t rate,
              const std::string& comment);
    /// Completes the file.
    ~FloatFile();
    FloatFile(const FloatFile&) = delete;
    FloatFile& operator=(const FloatFile&) = delete;

    /// Appends `frames` interleaved frames. False when they couldn't all be written.
    [[nodiscard]] bool Write(const float* samples, std::uint32_t frames);
    /// See WaveFile.
    bool IsLost() const;

    /// Whether a file of this name has a form that is known.
    static bool IsNamedWell(const std::string& path);

private:
    struct Handle;

    const std::uint32_t rate;  // Hz
    const std::unique_ptr<SoundFileTarget> target;
    std::unique_ptr<Handle> handle;
    std::uint32_t sinceHeader = 0;  // frames
};

}  // namespace platform
