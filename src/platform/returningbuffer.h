#pragma once

// A ring whose output may go away and come back: a sound server that is restarted, a card that is pulled out.
// While there is none the ring is read by the clock, unheard, so that the writer isn't held up:
//
//     pipe's thread ──> ring ──> StreamOutlet ──> thread of the OutputStream    while there is one
//                         └──> keeper's thread, by the clock                    until there is again

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

#include "platform/fedbuffer.h"
#include "platform/outputnews.h"
#include "platform/urgentthread.h"
#include "slib/log.h"
#include "slib/mutex.h"
#include "slib/priority.h"

namespace platform {

class ReturningBuffer;

/// The end that a stream takes frames from. The stream's thread calls, and never waits.
class StreamOutlet {
public:
    /// `capacity` is the number of frames that the stream's buffer holds. `keeperSignal` is posted when the
    /// stream is lost or its buffer too small, and outlives this object. `news` is told of
    /// interruptions.
    StreamOutlet(const RingShape& shape, std::uint32_t capacity, slib::Semaphore& keeperSignal,
                 std::shared_ptr<OutputNews> news)
        : channels(shape.channels),
          rate(shape.rate),
          capacity(capacity),
          keeperSignal(keeperSignal),
          news(std::move(news)) {}
    StreamOutlet(const StreamOutlet&) = delete;
    StreamOutlet& operator=(const StreamOutlet&) = delete;

    /// Writes the next `frames` frames, interleaved, full scale 1, of which the first will be heard `delay`
    /// frames from now; silence while it is connected to no ring.
    void Fill(float* output, std::uint32_t frames, std::uint32_t delay);
    /// The stream has ended by itself. Any thread.
    void NoteLoss();
    /// The stream's buffer holds `frames` frames from now on. Any thread.
    void SetCapacity(std::uint32_t frames) { capacity.store(frames, std::memory_order_relaxed); }
    /// The stream's buffer ran dry. The stream's thread.
    void NoteUnderflow();

private:
    friend class ReturningBuffer;

    void Connect(FedBuffer* newRing);  // null for none; no Fill reads the old one any more
    bool IsLost() const { return isLost.load(std::memory_order_relaxed); }
    bool IsTooSmall() const { return isTooSmall.load(std::memory_order_relaxed); }
    void NoteRequest(std::uint32_t frames);
    void NoteNearlyEmpty(std::uint32_t mostLate);
    void BeginWindow();

    const std::uint32_t channels;
    const std::uint32_t rate;  // Hz
    std::atomic<std::uint32_t> capacity;
    slib::Semaphore& keeperSignal;
    const std::shared_ptr<OutputNews> news;
    std::atomic_flag isBusy;    // who has set it may use `ring`
    FedBuffer* ring = nullptr;  // borrowed
    std::atomic<bool> isLost{false};
    std::atomic<bool> isTooSmall{false};
    std::atomic<std::uint32_t> nearlyEmpty{0};      // requests that found the buffer so
    std::atomic<std::uint32_t> greatestRequest{0};  // frames, since the keeper last looked

    UrgentThread urgency{slib::soundThreadLevel};  // of the stream's thread

    // The stream's thread's.
    std::uint32_t lateRequests = 0;              // of this window of time
    std::atomic<std::uint32_t> windowFrames{0};  // that were asked for in it
    std::atomic<bool> hasSettled{false};         // the window in which the buffer is filled is over
};

/// What carries an outlet's frames to where they are heard, until it is destroyed.
class OutputStream {
public:
    OutputStream() = default;
    virtual ~OutputStream() = default;
    OutputStream(const OutputStream&) = delete;
    OutputStream& operator=(const OutputStream&) = delete;

    /// Start and end the calls of StreamOutlet::Fill. May wait for a server.
    [[nodiscard]] virtual Result Start() = 0;
    virtual Result Stop() = 0;
    /// Gives the stream a buffer of `capacity` frames while it plays. False from one that has to be replaced
    /// for that.
    virtual bool Resize(std::uint32_t capacity) {
        static_cast<void>(capacity);
        return false;
    }
};

class ReturningBuffer : public FedBuffer {
public:
    /// Makes a stream with a buffer of `capacity` frames, not started, or null when there is no output.
    /// Called on threads of the buffer's own; may wait for a server. What it throws counts as null.
    using Opener = std::function<std::unique_ptr<OutputStream>(StreamOutlet&, std::uint32_t capacity)>;

    /// `capacity` is the number of frames that the first stream's buffer is to hold; one that is nearly empty
    /// time and again grows, and shrinks again over calm minutes, where the stream can do that. `news` is
    /// told of returns. `log` is borrowed, outlives the buffer, and gets a line when the output goes away,
    /// when it comes back, and when its buffer grows.
    ReturningBuffer(const RingShape& shape, std::uint32_t capacity, Opener reopen,
                    std::shared_ptr<OutputNews> news, slib::Log* log);

    /// Opens the first stream by `open`, which returns why it made none. Before the first Play; without this
    /// the buffer begins as one whose output went away.
    [[nodiscard]] Result Open(
        const std::function<Result(StreamOutlet&, std::unique_ptr<OutputStream>&)>& open);

    /// Waits at most two seconds; calls that a hanging server blocks are left to end alone.
    void Release() override;

protected:
    ~ReturningBuffer() override;

    Result StartTaking() override;
    Result StopTaking() override;
    Result NoteStall() override;

private:
    class Keeper;
    class Attempt;
    // The stream goes first.
    struct Feed {
        std::unique_ptr<StreamOutlet> outlet;
        std::unique_ptr<OutputStream> stream;
    };

    Feed MakeFeed();
    void Keep();
    void Lose();
    void Grow();
    void Shrink();
    void Leave();
    void ReportLateness();
    void TakeByClock(std::int64_t now);
    void Seek(std::int64_t now);
    void Adopt(Feed newFeed);
    Result CallOnStream(Result (OutputStream::*function)());

    const Opener reopen;
    slib::Log* const log;
    const std::uint32_t firstCapacity;  // frames
    slib::Semaphore signal;             // wakes the keeper
    std::atomic<bool> hasStalled{false};

    // The keeper's while it runs, else the pipe's thread's.
    std::uint32_t capacity;              // frames, of the stream's buffer
    std::uint32_t nearlyEmptyCount = 0;  // since the start, but for the present stream
    bool isBeingReplaced = false;        // the stream; nobody is told
    std::int64_t calmSince = 0;          // ns
    Feed feed;                           // without a stream while the output is away
    std::unique_ptr<Attempt> attempt;    // null for none under way
    std::int64_t lossTime = 0;           // ns
    std::int64_t taken = 0;              // frames since then
    std::int64_t nextAttempt = 0;        // ns
    std::int64_t attemptPause = 0;       // ns
    std::unique_ptr<Keeper> keeper;
};

}  // namespace platform
