#pragma once

// A WAV file that is being written, readable at any time up to its last header. One thread at a time.

#include <cstdint>
#include <memory>
#include <string>

#include "platform/outputdevice.h"

namespace platform {

class SoundFileTarget;

class WaveFile {
public:
    /// Replaces what is at `path`. `error` says why it couldn't, and the object is of no use then.
    WaveFile(const std::string& path, const RingShape& shape, std::string& error);
    /// Completes the file.
    ~WaveFile();
    WaveFile(const WaveFile&) = delete;
    WaveFile& operator=(const WaveFile&) = delete;

    /// Appends `frames` interleaved frames. False when they couldn't all be written.
    [[nodiscard]] bool Write(const std::int32_t* samples, std::uint32_t frames);
    /// True when the format has no room for another `frames`.
    bool IsFull(std::uint32_t frames) const;
    /// True once the game has closed the file's descriptor, whatever it then opened; and in a child that it
    /// forked. What was written stays, up to the last header, and no more is.
    bool IsLost() const;

private:
    struct Handle;

    const RingShape shape;
    std::unique_ptr<SoundFileTarget> target;
    std::unique_ptr<Handle> handle;
    std::uint64_t written = 0;      // frames
    std::uint32_t sinceHeader = 0;  // frames
};

/// The path for the next file of this process that is to be called `path`: that itself at first, then with
/// "-2", "-3", ... before its extension. Any thread.
std::string NextFilePath(const std::string& path);

}  // namespace platform
