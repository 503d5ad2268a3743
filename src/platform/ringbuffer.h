#pragma once

// The memory of a looping ring and its bookkeeping; each output adds where the cursors are. One thread calls
// the operations of the interface; the output reads `samples` on a thread of its own.

#include <cstdint>
#include <memory>

#include "platform/outputdevice.h"

namespace platform {

/// Positions in frames since the ring was made, never wrapped, play <= write.
struct RingCursors {
    std::int64_t play = 0;
    std::int64_t write = 0;
};

class RingBuffer : public IDirectSoundBuffer {
public:
    /// Silent. Throws std::bad_alloc.
    explicit RingBuffer(const RingShape& shape);

    Result GetCurrentPosition(std::uint32_t* playCursor, std::uint32_t* writeCursor) final;
    Result Play(std::uint32_t reserved, std::uint32_t priority, std::uint32_t flags) final;
    Result Stop() final;
    Result Lock(std::uint32_t offset, std::uint32_t bytes, void** first, std::uint32_t* firstBytes,
                void** second, std::uint32_t* secondBytes, std::uint32_t flags) final;
    Result Unlock(void* first, std::uint32_t firstBytes, void* second, std::uint32_t secondBytes) final;
    void Release() override { delete this; }

protected:
    ~RingBuffer() override = default;

    /// The cursors now. While the ring plays neither ever goes back.
    [[nodiscard]] virtual Result ReadCursors(RingCursors& cursors) = 0;
    /// Starts the cursors from their positions. Not called while they move.
    [[nodiscard]] virtual Result StartOutput() = 0;
    /// Stops the cursors. Nothing reads the ring from then on.
    virtual Result StopOutput() = 0;
    /// `frames` of the ring from `offset` on (frames) are written.
    virtual void NoteWritten(std::uint32_t offset, std::uint32_t frames);

    bool IsPlaying() const { return isPlaying; }

    const RingShape shape;
    const std::uint32_t frameBytes;
    const std::unique_ptr<std::int32_t[]> samples;  ///< shape.frames rows of shape.channels

private:
    std::uint32_t Bytes() const { return shape.frames * frameBytes; }
    bool HoldsPiece(const void* piece, std::uint32_t bytes) const;
    void NotePiece(const void* piece, std::uint32_t bytes);

    bool isPlaying = false;
};

}  // namespace platform
