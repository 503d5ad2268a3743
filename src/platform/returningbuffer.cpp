#include "platform/returningbuffer.h"

#include <algorithm>
#include <exception>
#include <thread>
#include <utility>

#include "platform/boundedcall.h"
#include "slib/thread.h"

namespace platform {
namespace {

constexpr std::uint32_t turn = 10;                    // ms between two readings by the clock
constexpr std::uint32_t longWait = 60'000;            // ms, until a signal
constexpr std::int64_t firstPause = 500'000'000;      // ns between the first two attempts
constexpr std::int64_t longestPause = 5'000'000'000;  // ns between two later ones

}  // namespace

void StreamOutlet::Fill(float* output, std::uint32_t frames, std::uint32_t delay) {
    urgency.SetUrgent(true);
    NoteRequest(frames);
    const auto write = [&](const std::int32_t* samples, std::uint32_t count) {
        const std::size_t size = std::size_t{count} * channels;
        constexpr float scale = 1.0F / 2147483648.0F;
        if (samples == nullptr)
            std::fill_n(output, size, 0.0F);
        else
            std::transform(samples, samples + size, output,
                           [](std::int32_t v) { return static_cast<float>(v) * scale; });
        output += size;
    };
    if (isBusy.test_and_set(std::memory_order_acquire)) return write(nullptr, frames);
    if (ring != nullptr)
        ring->Take(frames, delay, write);
    else
        write(nullptr, frames);
    isBusy.clear(std::memory_order_release);
}

// A request for most of the buffer finds it nearly empty, and the next one may come too late.
void StreamOutlet::NoteRequest(std::uint32_t frames) {
    constexpr std::uint32_t mostLate = 3;       // in a window
    constexpr std::uint32_t windowSeconds = 5;  // and half a second to begin with
    windowFrames.fetch_add(frames, std::memory_order_relaxed);
    const bool isSettled = hasSettled.load(std::memory_order_relaxed);
    if (isSettled) {
        if (frames > greatestRequest.load(std::memory_order_relaxed))
            greatestRequest.store(frames, std::memory_order_relaxed);
        if (frames > capacity.load(std::memory_order_relaxed) / 4 * 3) NoteNearlyEmpty(mostLate);
    }
    if (windowFrames.load(std::memory_order_relaxed) < (isSettled ? rate * windowSeconds : rate / 2)) return;
    hasSettled.store(true, std::memory_order_relaxed);
    windowFrames.store(0, std::memory_order_relaxed);
    lateRequests = 0;
}

void StreamOutlet::NoteNearlyEmpty(std::uint32_t mostLate) {
    ++lateRequests;
    nearlyEmpty.fetch_add(1, std::memory_order_relaxed);
    if (lateRequests >= mostLate && !isTooSmall.exchange(true, std::memory_order_relaxed))
        keeperSignal.Post();
}

void StreamOutlet::NoteUnderflow() {
    if (!hasSettled.load(std::memory_order_relaxed)) return;
    ++news->interruptions;
    NoteNearlyEmpty(1);
}

// After the buffer was given another size, which the next request fills or waits for.
void StreamOutlet::BeginWindow() {
    isTooSmall.store(false, std::memory_order_relaxed);
    windowFrames.store(0, std::memory_order_relaxed);
    hasSettled.store(false, std::memory_order_relaxed);
    greatestRequest.store(0, std::memory_order_relaxed);
}

void StreamOutlet::NoteLoss() {
    isLost.store(true, std::memory_order_relaxed);
    keeperSignal.Post();
}

void StreamOutlet::Connect(FedBuffer* newRing) {
    while (isBusy.test_and_set(std::memory_order_acquire))  // for the length of a Fill
        std::this_thread::yield();
    ring = newRing;
    isBusy.clear(std::memory_order_release);
}

class ReturningBuffer::Keeper : public slib::Thread {
public:
    explicit Keeper(ReturningBuffer& buffer)
        : Thread("SoundKeeper", slib::Thread::Priority::Normal), buffer(buffer) {
        Start();
    }
    ~Keeper() override {
        if (!RequestStop()) return;
        buffer.signal.Post();
        AwaitEnd();
    }

private:
    // It can do without the priority, where the system refuses it.
    void Run() override {
        static_cast<void>(TakePriority(Priority::AboveNormal));
        while (!IsStopRequested()) {
            // Woken or not, there may be something to do.
            static_cast<void>(buffer.signal.WaitFor(buffer.feed.stream ? longWait : turn));
            try {
                if (!IsStopRequested()) buffer.Keep();
            } catch (const std::exception&) {  // there was no thread; the next turn tries again
            }
        }
    }

    ReturningBuffer& buffer;
};

// The destruction of a stream that was lost and the search for another one, both of which may wait.
class ReturningBuffer::Attempt : public slib::Thread {
public:
    Attempt(Feed lost, ReturningBuffer& buffer)
        : Thread("Sound", slib::Thread::Priority::Normal), lost(std::move(lost)), buffer(buffer) {
        Start();
    }
    ~Attempt() override { Stop(); }

    bool IsOver() const { return isOver.load(std::memory_order_acquire); }

    // With a stream that has started, or without one. When it is over.
    Feed found;

private:
    void Run() override {
        lost.stream.reset();  // before its outlet
        try {
            Feed feed = buffer.MakeFeed();
            feed.stream = buffer.reopen(*feed.outlet, buffer.capacity);
            if (feed.stream && feed.stream->Start() == DS_OK) found = std::move(feed);
        } catch (const std::exception&) {  // the next one may fare better
        }
        isOver.store(true, std::memory_order_release);
        buffer.signal.Post();
    }

    Feed lost;
    ReturningBuffer& buffer;
    std::atomic<bool> isOver{false};
};

ReturningBuffer::ReturningBuffer(const RingShape& shape, std::uint32_t capacity, Opener reopen,
                                 std::shared_ptr<OutputNews> news, slib::Log* log)
    : FedBuffer(shape, capacity, std::move(news)),
      reopen(std::move(reopen)),
      log(log),
      firstCapacity(capacity),
      capacity(capacity) {}

ReturningBuffer::~ReturningBuffer() = default;

void ReturningBuffer::Release() {
    CallBounded([this] { delete this; });
}

ReturningBuffer::Feed ReturningBuffer::MakeFeed() {
    Feed made;
    made.outlet = std::make_unique<StreamOutlet>(shape, capacity, signal, news);
    return made;
}

Result ReturningBuffer::Open(
    const std::function<Result(StreamOutlet&, std::unique_ptr<OutputStream>&)>& open) {
    Feed first = MakeFeed();
    const Result result = open(*first.outlet, first.stream);
    if (result == DS_OK) Adopt(std::move(first));
    return result;
}

void ReturningBuffer::Adopt(Feed newFeed) {
    feed = std::move(newFeed);
    feed.outlet->Connect(this);
}

// A stream that doesn't start is one that went away.
Result ReturningBuffer::StartTaking() {
    if (feed.stream && CallOnStream(&OutputStream::Start) != DS_OK) feed.outlet->NoteLoss();
    news->isAway = !feed.stream;
    lossTime = nextAttempt = NowNanoseconds();
    taken = 0;
    attemptPause = firstPause;
    hasStalled = false;
    calmSince = NowNanoseconds();
    keeper = std::make_unique<Keeper>(*this);
    return DS_OK;
}

Result ReturningBuffer::StopTaking() {
    keeper.reset();
    Result result = DS_OK;
    if (feed.stream) result = CallOnStream(&OutputStream::Stop);
    if (result == DSERR_BUFFERLOST) Fail(result);
    if (result == DS_OK) ReportLateness();
    return result;
}

void ReturningBuffer::ReportLateness() {
    nearlyEmptyCount += feed.outlet ? feed.outlet->nearlyEmpty.exchange(0) : 0;
    const Interruptions& late = Lateness();
    if (late.count == 0 && nearlyEmptyCount == 0) return;
    log->Write("The sound was interrupted " + std::to_string(late.count) + " times, for " +
                   std::to_string(late.longest * 1000 / shape.rate) +
                   " ms at most, and the sound server's buffer was nearly empty " +
                   std::to_string(nearlyEmptyCount) +
                   " times. Real-time rights or a greater SuggestedBufferCount prevent it.",
               false);
    nearlyEmptyCount = 0;
}

// A server that hangs may hang forever.
Result ReturningBuffer::NoteStall() {
    hasStalled = true;
    signal.Post();
    return DS_OK;
}

// A call that was given up still has the stream, whose destruction waits for it.
Result ReturningBuffer::CallOnStream(Result (OutputStream::*function)()) {
    const auto result = std::make_shared<Result>(DSERR_BUFFERLOST);
    const bool isOver =
        CallBounded([result, function, &stream = *feed.stream] { *result = (stream.*function)(); });
    return isOver ? *result : DSERR_BUFFERLOST;
}

// One turn of the keeper.
void ReturningBuffer::Keep() {
    const bool isStalled = hasStalled.exchange(false);
    if (feed.stream && (isStalled || feed.outlet->IsLost()))
        Lose();
    else if (feed.stream && feed.outlet->IsTooSmall())
        Grow();
    else if (feed.stream)
        Shrink();
    if (feed.stream) return;
    const std::int64_t now = NowNanoseconds();
    TakeByClock(now);
    Seek(now);
}

void ReturningBuffer::Lose() {
    capacity = firstCapacity;
    isBeingReplaced = false;
    news->isAway = true;
    Leave();
    log->Write("The sound output went away: the sound isn't heard until it is back.", true);
}

// By half as much again, up to an eighth of a second; in place, or by another stream.
void ReturningBuffer::Grow() {
    const std::uint32_t longest = shape.rate / 8;
    calmSince = NowNanoseconds();
    feed.outlet->BeginWindow();
    if (capacity >= longest) return;
    capacity = std::min(capacity + capacity / 2, longest);
    if (!feed.stream->Resize(capacity)) {
        isBeingReplaced = true;
        Leave();
    }
    log->Write("The sound server's buffer was nearly empty time and again, so it is now " +
                   std::to_string(capacity * 1000 / shape.rate) + " ms long.",
               false);
}

// By a quarter after a minute in which half of the buffer would have done.
void ReturningBuffer::Shrink() {
    const std::int64_t now = NowNanoseconds();
    if (now - calmSince < std::int64_t{longWait} * 1'000'000) return;
    calmSince = now;
    const std::uint32_t greatest = feed.outlet->greatestRequest.exchange(0, std::memory_order_relaxed);
    if (capacity <= firstCapacity || greatest > feed.outlet->capacity / 2) return;
    const std::uint32_t shorter = std::max(capacity / 4 * 3, firstCapacity);
    if (!feed.stream->Resize(shorter)) return;
    capacity = shorter;
    feed.outlet->BeginWindow();
}

void ReturningBuffer::Leave() {
    feed.outlet->Connect(nullptr);
    nearlyEmptyCount += feed.outlet->nearlyEmpty;
    lossTime = nextAttempt = NowNanoseconds();
    taken = 0;
    attemptPause = firstPause;
    attempt = std::make_unique<Attempt>(std::move(feed), *this);
    feed = {};
}

void ReturningBuffer::TakeByClock(std::int64_t now) {
    const std::int64_t due = FramesIn(now - lossTime, shape.rate) - taken;
    if (due <= 0) return;
    // More than a ring at once can only follow a time in which the process stood still.
    Take(static_cast<std::uint32_t>(std::min<std::int64_t>(due, shape.frames)), 0,
         [](const std::int32_t*, std::uint32_t) {});
    taken += due;
}

void ReturningBuffer::Seek(std::int64_t now) {
    if (!attempt) {
        if (now < nextAttempt) return;
        attempt = std::make_unique<Attempt>(Feed{}, *this);
    }
    if (!attempt->IsOver()) return;
    Feed found = std::move(attempt->found);
    attempt.reset();
    nextAttempt = now + attemptPause;
    attemptPause = std::min(attemptPause * 3 / 2, longestPause);
    if (!found.stream) return;
    ExpectReach(capacity);
    Adopt(std::move(found));
    calmSince = now;
    ++news->returns;
    news->isAway = false;
    if (!std::exchange(isBeingReplaced, false)) log->Write("The sound output is back.", false);
}

}  // namespace platform
