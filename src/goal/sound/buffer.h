#pragma once

// Audio from a game, kept in the format it came in. The buffer calls make buffers on the game's
// threads; the server's thread reads them through its queues without a lock, which is safe because nothing
// but the two counts changes after construction.

#include <atomic>
#include <cstdint>

#include "goal/sound/arrangement.h"
#include "goal/sound/bufferformats.h"

namespace goal {

class Buffer {
public:
    const std::uint32_t name;     ///< its name in the pool
    const std::int32_t formatId;  ///< the AL format token
    const float frequency;        ///< sample rate in Hz
    const std::uint8_t* const
        data;                  ///< the samples, interleaved; not aligned when they are memory of the game
    const std::uint32_t size;  ///< bytes
    const bool ownsData;       ///< false: `data` is memory of the game

    /// Places in the sources' queues of the application states that refer to this buffer.
    std::atomic<std::int32_t> useCount{0};
    /// The renderers that may read the data, as of their last snapshots, where it is the game's: a bit
    /// for each place of a context. Guarded by the API mutex.
    std::uint32_t renderers = 0;
    /// Records that free the buffer when the last one of them goes, once it has no name any more.
    std::atomic<std::uint32_t> holders{1};

    const std::uint32_t frames;  ///< samples per channel
    const std::uint32_t channels;
    const Arrangement arrangementKey;
    const float scale;  ///< brings a raw sample to full scale 1

    /// With `copyData` the buffer keeps its own copy of `size` bytes; without, it refers to `data`, which
    /// must live as long. `data` may be null when `size` is 0. Bytes after the last whole block are kept and
    /// never played. Throws slib::OutOfMemoryException, and slib::BadParameterException for a format that
    /// isn't in the table or for more than 2^32 - 1 frames.
    Buffer(std::uint32_t name, std::int32_t formatId, float frequency, const void* data, std::uint32_t size,
           bool copyData);
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;
    ~Buffer();

private:
    Buffer(const BufferFormat& format, std::uint32_t name, float frequency, const void* data,
           std::uint32_t size, bool copyData);
};

/// True while the buffer's data may neither be replaced nor deleted: a queue of the game refers to it,
/// or the server's thread may still read memory that belongs to the game. Takes the API mutex to be
/// held.
bool InUse(const Buffer& buffer);

/// For one of the holders of a buffer without a name: frees it when that was the last. Any thread.
void LetGo(Buffer* buffer) noexcept;

/// The byte offset that is reported for a position in frames. For IMA4 the offset within one endless block.
std::uint64_t FramesToBytes(const Buffer& buffer, std::uint64_t frames);

/// The position in frames of a byte offset, cut to a whole frame; the inverse of FramesToBytes.
std::uint64_t BytesToFrames(const Buffer& buffer, std::uint64_t bytes);

/// What AL_BITS reports: 8 or 16 for integer PCM, 0 for all else.
std::int32_t BitsOf(const Buffer& buffer);

}  // namespace goal
