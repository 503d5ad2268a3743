#pragma once

// What has been recorded and not been read yet:
//
//     input's thread ──> Write ──> ring ──> Read ──> the game's threads
//
// Bounded: while it is full, new frames are dropped and the oldest stay, so that what is read has no gap
// before the first frame that was dropped. Any thread; its lock is held for the length of a copy.

#include <cstddef>
#include <cstdint>
#include <memory>

#include "slib/mutex.h"

namespace platform {

/// What frames are made of, interleaved.
struct InputFormat {
    enum class Sample {
        Unsigned8,  ///< silence is 128
        Signed16,
        Float32,  ///< full scale is 1
    };

    Sample sample = Sample::Signed16;
    std::uint32_t channels = 1;  ///< 1, or 2: left and right
    std::uint32_t rate = 0;      ///< Hz

    std::size_t FrameBytes() const;
};

class InputRing {
public:
    /// Empty and stopped. Throws std::bad_alloc where there is no memory for `frames` frames, which are above
    /// 0.
    InputRing(const InputFormat& format, std::uint32_t frames);

    /// Adds `frames` frames, as many of them as there is room for; null stands for silence. Does nothing
    /// while the ring is stopped.
    void Write(const void* samples, std::size_t frames);
    /// Takes the oldest `frames` frames. False, and nothing is taken, when there aren't as many.
    [[nodiscard]] bool Read(void* samples, std::uint32_t frames);
    /// Frames that can be read.
    std::uint32_t Available() const;

    /// What is in the ring stays in it.
    void SetRunning(bool running);
    bool IsRunning() const;

    const InputFormat format;

private:
    const std::size_t frameBytes;
    const std::size_t capacity;  // bytes
    const std::unique_ptr<std::byte[]> bytes;

    mutable slib::Mutex mutex;
    std::size_t begin SLIB_GUARDED_BY(mutex) = 0;   // bytes, of the oldest frame
    std::size_t filled SLIB_GUARDED_BY(mutex) = 0;  // bytes
    bool isRunning SLIB_GUARDED_BY(mutex) = false;
};

}  // namespace platform
