#include "platform/returningbuffer.h"

#include <algorithm>
#include <exception>
#include <thread>
#include <utility>

#include "platform/boundedcall.h"
#include "platform/threadpriority.h"
#include "slib/thread.h"

namespace platform {
namespace {

constexpr std::uint32_t turn = 10;                    // ms between two readings by the clock
constexpr std::uint32_t longWait = 60'000;            // ms, until a signal
constexpr std::int64_t firstPause = 500'000'000;      // ns between the first two attempts
constexpr std::int64_t longestPause = 5'000'000'000;  // ns between two later ones

}  // namespace

void StreamOutlet::Fill(float* output, std::uint32_t frames, std::uint32_t delay) {
    if (!hasRaisedThread) RaiseSoundThread();
    hasRaisedThread = true;
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
        : Thread("SoundKeeper", slib::Thread::Priority::AboveNormal), buffer(buffer) {
        Start();
    }
    ~Keeper() override {
        if (!RequestStop()) return;
        buffer.signal.Post();
        AwaitEnd();
    }

private:
    void Run() override {
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
            feed.stream = buffer.reopen(*feed.outlet);
            if (feed.stream && feed.stream->Start() == DS_OK) found = std::move(feed);
        } catch (const std::exception&) {  // the next one may fare better
        }
        isOver.store(true, std::memory_order_release);
    }

    Feed lost;
    ReturningBuffer& buffer;
    std::atomic<bool> isOver{false};
};

ReturningBuffer::ReturningBuffer(const RingShape& shape, std::uint32_t reach, Opener reopen, slib::Log* log)
    : FedBuffer(shape, reach), reopen(std::move(reopen)), log(log) {}

ReturningBuffer::~ReturningBuffer() = default;

void ReturningBuffer::Release() {
    CallBounded([this] { delete this; });
}

ReturningBuffer::Feed ReturningBuffer::MakeFeed() {
    Feed made;
    made.outlet = std::make_unique<StreamOutlet>(shape.channels, signal);
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
    lossTime = nextAttempt = NowNanoseconds();
    taken = 0;
    attemptPause = firstPause;
    hasStalled = false;
    keeper = std::make_unique<Keeper>(*this);
    return DS_OK;
}

Result ReturningBuffer::StopTaking() {
    keeper.reset();
    if (!feed.stream) return DS_OK;
    const Result result = CallOnStream(&OutputStream::Stop);
    if (result == DSERR_BUFFERLOST) Fail(result);
    return result;
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
    if (feed.stream && !feed.outlet->IsLost() && !hasStalled.exchange(false)) return;
    const std::int64_t now = NowNanoseconds();
    if (feed.stream) Lose();
    TakeByClock(now);
    Seek(now);
}

void ReturningBuffer::Lose() {
    feed.outlet->Connect(nullptr);
    lossTime = nextAttempt = NowNanoseconds();
    taken = 0;
    attemptPause = firstPause;
    attempt = std::make_unique<Attempt>(std::move(feed), *this);
    feed = {};
    log->Write("The sound output went away: the sound isn't heard until it is back.", true);
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
    Adopt(std::move(found));
    log->Write("The sound output is back.", false);
}

}  // namespace platform
