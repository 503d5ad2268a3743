#pragma once

// A ring that an output takes chunks from on a thread of its own: what a sound server's callback and the
// writer of a WAV file have in common.
//
//     application's thread:  Lock, Unlock, GetCurrentPosition ...        output's thread:  Take, Take, ...
//
// Neither side locks or allocates. After a start the output is given silence, and the cursors don't move,
// until the application has written as far ahead as the output is going to read, so that nothing of its
// beginning is lost; but not longer than a quarter of a second.

#include <algorithm>
#include <atomic>
#include <cstdint>

#include "platform/clock.h"
#include "platform/playclock.h"
#include "platform/ringbuffer.h"

namespace platform {

class FedBuffer : public RingBuffer {
public:
    /// `chunk` is the number of frames that the output is expected to take at once, at most.
    FedBuffer(const RingShape& shape, std::uint32_t chunk);

    /// Output's thread: passes the next `frames` frames to `consume(samples, count)` in pieces, with null in
    /// place of the samples for silence.
    template <typename Consume>
    void Take(std::uint32_t frames, const Consume& consume);
    /// Output's thread, or any: the output has ended, and every operation returns `result` from now on.
    void Fail(Result result) { failure.store(result, std::memory_order_relaxed); }

protected:
    ~FedBuffer() override = default;

    Result ReadCursors(RingCursors& cursors) override;
    Result StartOutput() override;
    Result StopOutput() override;
    void NoteWritten(std::uint32_t offset, std::uint32_t frames) override;

    /// Starts and ends the calls of Take.
    [[nodiscard]] virtual Result StartTaking() = 0;
    virtual Result StopTaking() = 0;
    /// The output has taken nothing for two seconds. Application's thread; the result is what its call gets.
    virtual Result NoteStall() { return DSERR_BUFFERLOST; }

private:
    bool IsHeld(std::int64_t now);
    bool HasStalled(std::uint32_t count, std::int64_t now);

    const std::uint32_t expectedChunk;
    PlayClock clock;
    std::atomic<Result> failure{DS_OK};
    std::atomic<bool> isHeld{true};
    std::atomic<std::uint32_t> writes{0};  // passes what was written to the output's thread
    std::int64_t holdEnd = 0;              // nanoseconds; stands while the output takes chunks

    // Output's thread; between a stop and a start the application's.
    std::uint32_t next = 0;  // frame of the ring

    // Application's thread.
    std::int64_t lastPlay = 0;      // frames
    std::int64_t longestWrite = 0;  // frames
    std::uint32_t lastCount = 0;    // of the clock's readings
    std::int64_t lastLook = 0;      // nanoseconds
    std::int64_t waited = 0;        // nanoseconds since lastCount changed
};

template <typename Consume>
void FedBuffer::Take(std::uint32_t frames, const Consume& consume) {
    const std::int64_t now = NowNanoseconds();
    if (IsHeld(now)) {
        consume(nullptr, frames);
        return clock.Idle(frames, now);
    }
    writes.load(std::memory_order_acquire);
    for (std::uint32_t rest = frames; rest > 0;) {
        const std::uint32_t piece = std::min(rest, shape.frames - next);
        consume(samples.get() + std::size_t{next} * shape.channels, piece);
        next = (next + piece) % shape.frames;
        rest -= piece;
    }
    clock.HandOver(frames, now);
}

}  // namespace platform
