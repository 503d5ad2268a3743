#include "platform/fedbuffer.h"

namespace platform {
namespace {

constexpr std::int64_t longestHold = 250'000'000;     // ns
constexpr std::int64_t longestStall = 2'000'000'000;  // ns
// What counts of the time between two looks at the cursors: a process that was stopped for a while, by a
// debugger or the user, has not waited.
constexpr std::int64_t longestLook = 100'000'000;  // ns

}  // namespace

FedBuffer::FedBuffer(const RingShape& shape, std::uint32_t chunk)
    : RingBuffer(shape), expectedChunk(chunk), clock(shape.rate) {
    clock.Begin(0, chunk, NowNanoseconds());
}

Result FedBuffer::StartOutput() {
    if (const Result result = failure.load(std::memory_order_relaxed); result != DS_OK) return result;
    const std::int64_t now = NowNanoseconds();
    next = static_cast<std::uint32_t>(lastPlay % shape.frames);
    clock.Begin(lastPlay, expectedChunk, now);
    holdEnd = now + longestHold;
    isHeld.store(true, std::memory_order_release);
    lastLook = now;
    waited = 0;
    return StartTaking();
}

Result FedBuffer::StopOutput() {
    const Result result = StopTaking();
    const Result failed = failure.load(std::memory_order_relaxed);
    return failed != DS_OK ? failed : result;
}

Result FedBuffer::ReadCursors(RingCursors& cursors) {
    if (const Result result = failure.load(std::memory_order_relaxed); result != DS_OK) return result;
    const std::int64_t now = NowNanoseconds();
    const PlayClock::Reading reading = clock.Read(now);
    if (IsPlaying()) {
        if (HasStalled(reading.count, now)) {
            waited = 0;
            if (const Result result = NoteStall(); result != DS_OK) return result;
        }
        // A writer that keeps a whole ring ahead writes up to one of its pieces beyond the cursor it sees:
        // that far the output must have taken the ring already.
        lastPlay = std::max(lastPlay, static_cast<std::int64_t>(reading.play) - longestWrite);
    }
    cursors.play = lastPlay;
    cursors.write = std::max(reading.handed, lastPlay + longestWrite) + reading.chunk;
    return DS_OK;
}

bool FedBuffer::HasStalled(std::uint32_t count, std::int64_t now) {
    waited = count == lastCount ? waited + std::min(now - lastLook, longestLook) : 0;
    lastCount = count;
    lastLook = now;
    return waited > longestStall;
}

// Writing goes on from where it began, so that what lies between the cursor and the end of a piece is
// written.
void FedBuffer::NoteWritten(std::uint32_t offset, std::uint32_t frames) {
    writes.fetch_add(1, std::memory_order_release);
    longestWrite = std::max<std::int64_t>(longestWrite, frames);
    if (!isHeld.load(std::memory_order_relaxed)) return;
    const auto start = static_cast<std::uint32_t>(lastPlay % shape.frames);
    const std::uint32_t ahead = (offset + shape.frames - start) % shape.frames + frames;
    if (ahead >= clock.Read(lastLook).chunk + longestWrite) isHeld.store(false, std::memory_order_release);
}

bool FedBuffer::IsHeld(std::int64_t now) {
    if (!isHeld.load(std::memory_order_acquire)) return false;
    if (now < holdEnd) return true;
    isHeld.store(false, std::memory_order_relaxed);
    return false;
}

}  // namespace platform
