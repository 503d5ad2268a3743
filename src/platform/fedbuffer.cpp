#include "platform/fedbuffer.h"

#include <cmath>
#include <utility>

namespace platform {
namespace {

constexpr std::int64_t longestHold = 250'000'000;     // ns
constexpr std::int64_t longestStall = 2'000'000'000;  // ns
// What counts of the time between two looks at the cursors: a process that was stopped for a while, by a
// debugger or the user, has not waited.
constexpr std::int64_t longestLook = 100'000'000;  // ns

}  // namespace

FedBuffer::FedBuffer(const RingShape& shape, std::uint32_t reach, std::shared_ptr<OutputNews> news)
    : RingBuffer(shape),
      news(std::move(news)),
      expectedReach(reach),
      clock(shape.rate),
      fade(std::size_t{fadeFrames} * shape.channels) {
    clock.Begin(0, reach, NowNanoseconds());
}

Result FedBuffer::StartOutput() {
    if (const Result result = failure.load(std::memory_order_relaxed); result != DS_OK) return result;
    const std::int64_t now = NowNanoseconds();
    next = lastPlay;
    isMuted = false;
    mutedFrames = 0;
    interruptions = {};
    hasWritten = false;
    writeEnd = lastPlay;
    written.store(lastPlay, std::memory_order_relaxed);
    clock.Begin(lastPlay, expectedReach, now);
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
        const auto heard = static_cast<std::int64_t>(std::floor(reading.play));
        const std::int64_t before = lastPlay;
        lastPlay = std::max(lastPlay, std::min(heard, reading.handed - longestWrite));
        // A reader of the cursor doesn't see whole rounds, and goes on a round further.
        writeEnd += (lastPlay - before) / shape.frames * shape.frames;
        cursors.write = std::max(reading.handed, heard + reading.reach);
    }
    cursors.play = lastPlay;
    cursors.write = std::max(cursors.write, lastPlay + std::max<std::int64_t>(longestWrite, reading.reach));
    return DS_OK;
}

bool FedBuffer::HasStalled(std::uint32_t count, std::int64_t now) {
    waited = count == lastCount ? waited + std::min(now - lastLook, longestLook) : 0;
    lastCount = count;
    lastLook = now;
    return waited > longestStall;
}

// Writing goes on from where it began, so that what lies between the cursor and the end of a piece is
// written. A writer that was held up goes on behind the cursor, at most a round.
void FedBuffer::NoteWritten(std::uint32_t offset, std::uint32_t frames) {
    longestWrite = std::max<std::int64_t>(longestWrite, frames);
    if (!hasWritten || writeEnd % shape.frames != offset) {
        const auto start = static_cast<std::uint32_t>(lastPlay % shape.frames);
        writeEnd = lastPlay + (offset + shape.frames - start) % shape.frames;
    }
    hasWritten = true;
    writeEnd += frames;
    const PlayClock::Reading reading = clock.Read(lastLook);
    while (writeEnd + shape.frames < lastPlay)
        writeEnd += shape.frames;
    written.store(writeEnd, std::memory_order_release);
    if (isHeld.load(std::memory_order_relaxed) && writeEnd - lastPlay >= reading.reach + longestWrite)
        isHeld.store(false, std::memory_order_release);
}

// How many of the next frames are written.
std::uint32_t FedBuffer::Ready(std::uint32_t frames) const {
    const std::int64_t ready = written.load(std::memory_order_acquire) - next;
    return static_cast<std::uint32_t>(std::clamp<std::int64_t>(ready, 0, frames));
}

void FedBuffer::Skip(std::uint32_t frames) {
    next += frames;
}

void FedBuffer::NoteInterruption() {
    ++interruptions.count;
    if (news && !news->isAway) ++news->interruptions;
    interruptions.longest = std::max(interruptions.longest, std::exchange(mutedFrames, 0));
}

// The next frames, not more than fadeFrames.
const std::int32_t* FedBuffer::FadeIn(std::uint32_t frames) {
    for (std::uint32_t f = 0; f < frames; ++f)
        for (std::uint32_t c = 0; c < shape.channels; ++c) {
            const std::size_t from = static_cast<std::size_t>((next + f) % shape.frames) * shape.channels + c;
            fade[std::size_t{f} * shape.channels + c] =
                static_cast<std::int32_t>(std::int64_t{samples[from]} * f / fadeFrames);
        }
    return fade.data();
}

// fadeFrames of it.
const std::int32_t* FedBuffer::Silence() {
    std::fill(fade.begin(), fade.end(), 0);
    return fade.data();
}

// As far as the ring can be written ahead; of a longer one the cursor knows a part.
std::uint32_t FedBuffer::LongestDelay(std::uint32_t frames) const {
    const std::uint32_t longest = shape.frames / 4 * 3;
    return longest - std::min(longest, frames);
}

// From the frame before.
const std::int32_t* FedBuffer::FadeOut(std::uint32_t frames) {
    const std::size_t last =
        static_cast<std::size_t>((next + shape.frames - 1) % shape.frames) * shape.channels;
    for (std::uint32_t f = 0; f < frames; ++f)
        for (std::uint32_t c = 0; c < shape.channels; ++c)
            fade[std::size_t{f} * shape.channels + c] = static_cast<std::int32_t>(
                std::int64_t{samples[last + c]} * (fadeFrames - 1 - f) / fadeFrames);
    return fade.data();
}

bool FedBuffer::IsHeld(std::int64_t now) {
    if (!isHeld.load(std::memory_order_acquire)) return false;
    if (now < holdEnd) return true;
    isHeld.store(false, std::memory_order_relaxed);
    return false;
}

}  // namespace platform
