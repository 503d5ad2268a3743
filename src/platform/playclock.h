#pragma once

// What is heard of an output that takes frames in chunks and plays them after a delay, as a sound server
// does. Between two chunks the cursor moves at the rate of the output, by the monotonic clock, and never
// beyond what was handed over:
//
//     frames       ┌────────── handed over            reach: how far ahead of what is heard the output has
//              ┌───┘      ╱                           taken frames of late, just after it took some
//          ┌───┘      ╱  ← heard, late by the output's delay
//      ────┘      ╱
//
// The thread that takes the chunks calls HandOver and Idle, another one Read; both run without a lock.

#include <array>
#include <atomic>
#include <cstdint>

namespace platform {

class PlayClock {
public:
    struct Reading {
        double play = 0;          ///< frames; what is heard, before the start while nothing is yet
        std::int64_t handed = 0;  ///< frames
        std::uint32_t reach = 0;  ///< frames, the longest of the last while
        std::uint32_t count = 0;  ///< of chunks and idle turns; another one each time that the output asks
    };

    /// `rate` in Hz.
    explicit PlayClock(std::uint32_t rate) : rate(rate) {}

    /// All cursors are at `position` (frames); `reach` is what is expected. While nobody takes chunks. `now`
    /// is of the monotonic clock (ns), as below.
    void Begin(std::int64_t position, std::uint32_t reach, std::int64_t now);
    /// The output has taken `frames` more, of which the first will be heard `delay` frames from now.
    void HandOver(std::uint32_t frames, std::uint32_t delay, std::int64_t now);
    /// The output has asked for `frames` and was given none.
    void Idle(std::uint32_t frames, std::uint32_t delay, std::int64_t now);
    /// Another output takes the frames from now on, of which `reach` is expected. On the thread of the old
    /// one.
    void Expect(std::uint32_t reach, std::int64_t now);
    Reading Read(std::int64_t now) const;

private:
    struct Mark {
        std::atomic<std::int64_t> handed{0};
        std::atomic<double> play{0};
        std::atomic<std::int64_t> time{0};
        std::atomic<std::uint32_t> reach{0};
    };

    Reading At(std::uint32_t number, std::int64_t now) const;
    void Publish(const Reading& reading, std::int64_t now);

    const std::uint32_t rate;
    std::array<Mark, 8> marks;             // the last ones, by number
    std::atomic<std::uint32_t> newest{0};  // number of the last one that is complete
    bool isFresh = true;                   // nothing has been handed over since Begin
};

}  // namespace platform
