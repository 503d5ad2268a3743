#pragma once

// A ring that an output takes chunks from on a thread of its own: what a sound server's callback and the
// writer of a WAV file have in common.
//
//     pipe's thread:  Lock, Unlock, GetCurrentPosition ...        output's thread:  Take, Take, ...
//
// The play cursor is what is heard, by what the output tells of its delay, and the write cursor what the
// output may have taken by then: the output's own buffer lies between the two. Neither side locks or
// allocates. After a start the output is given silence, and the cursors don't move, until the pipe has
// written as far ahead as the output is going to read, so that nothing of its beginning is lost; but not
// longer than a quarter of a second. What the pipe is late with is silence, with a fade before and
// after it.

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "platform/clock.h"
#include "platform/outputnews.h"
#include "platform/playclock.h"
#include "platform/ringbuffer.h"

namespace platform {

class FedBuffer : public RingBuffer {
public:
    /// `reach` is the number of frames by which the output is expected to be ahead of what is heard, at most.
    /// `news` is told of interruptions; null for nobody.
    FedBuffer(const RingShape& shape, std::uint32_t reach, std::shared_ptr<OutputNews> news);

    /// Output's thread: passes the next `frames` frames, of which the first will be heard `delay` frames from
    /// now, to `consume(samples, count)` in pieces. Before the pipe has begun there is null in place
    /// of the samples.
    template <typename Consume>
    void Take(std::uint32_t frames, std::uint32_t delay, const Consume& consume);
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
    /// Another output takes from now on, which is expected to be ahead by `reach` frames. On the thread that
    /// took so far.
    void ExpectReach(std::uint32_t reach) { clock.Expect(reach, NowNanoseconds()); }
    /// What the pipe was late with since the start, where sound came after it.
    struct Interruptions {
        std::uint32_t count = 0;
        std::uint32_t longest = 0;  ///< frames
    };
    /// While nobody takes frames.
    const Interruptions& Lateness() const { return interruptions; }

    /// The output has taken nothing for two seconds. Pipe's thread; the result is what its call gets.
    virtual Result NoteStall() { return DSERR_BUFFERLOST; }

    const std::shared_ptr<OutputNews> news;

private:
    static constexpr std::uint32_t fadeFrames = 64;

    template <typename Consume>
    void Pass(std::uint32_t frames, const Consume& consume);
    void NoteInterruption();
    const std::int32_t* FadeIn(std::uint32_t frames);
    const std::int32_t* FadeOut(std::uint32_t frames);
    const std::int32_t* Silence();
    std::uint32_t LongestDelay(std::uint32_t frames) const;
    std::uint32_t Ready(std::uint32_t frames) const;
    void Skip(std::uint32_t frames);
    bool IsHeld(std::int64_t now);
    bool HasStalled(std::uint32_t count, std::int64_t now);

    const std::uint32_t expectedReach;
    PlayClock clock;
    std::atomic<Result> failure{DS_OK};
    std::atomic<bool> isHeld{true};
    std::atomic<std::int64_t> written{0};  // frames; passes what was written to the output's thread
    std::int64_t holdEnd = 0;              // nanoseconds; stands while the output takes chunks

    // Output's thread; between a stop and a start the pipe's.
    std::int64_t next = 0;  // frame
    bool isMuted = false;   // the last frame was silence, for want of another
    std::uint32_t mutedFrames = 0;
    Interruptions interruptions;
    std::vector<std::int32_t> fade;

    // Pipe's thread.
    std::int64_t lastPlay = 0;      // frames
    std::int64_t longestWrite = 0;  // frames
    std::int64_t writeEnd = 0;      // frames
    bool hasWritten = false;        // since the start
    std::uint32_t lastCount = 0;    // of the clock's readings
    std::int64_t lastLook = 0;      // nanoseconds
    std::int64_t waited = 0;        // nanoseconds since lastCount changed
};

template <typename Consume>
void FedBuffer::Take(std::uint32_t frames, std::uint32_t delay, const Consume& consume) {
    const std::int64_t now = NowNanoseconds();
    if (IsHeld(now)) {
        consume(nullptr, frames);
        return clock.Idle(frames, std::min(delay, LongestDelay(frames)), now);
    }
    const std::uint32_t ready = Ready(frames);
    std::uint32_t faded = ready > 0 && std::exchange(isMuted, false) ? std::min(ready, fadeFrames) : 0;
    if (faded > 0) {
        NoteInterruption();
        consume(FadeIn(faded), faded);
        Skip(faded);
    }
    Pass(ready - faded, consume);
    std::uint32_t missing = frames - ready;
    mutedFrames += missing;
    while (missing > 0) {
        const std::uint32_t piece = std::min(missing, fadeFrames);
        consume(std::exchange(isMuted, true) ? Silence() : FadeOut(piece), piece);
        Skip(piece);
        missing -= piece;
    }
    clock.HandOver(frames, std::min(delay, LongestDelay(frames)), now);
}

template <typename Consume>
void FedBuffer::Pass(std::uint32_t frames, const Consume& consume) {
    while (frames > 0) {
        const auto start = static_cast<std::uint32_t>(next % shape.frames);
        const std::uint32_t piece = std::min(frames, shape.frames - start);
        consume(samples.get() + std::size_t{start} * shape.channels, piece);
        Skip(piece);
        frames -= piece;
    }
}

}  // namespace platform
