#pragma once

// The clock that outputs without hardware are paced by, and between whose ticks a play cursor is
// interpolated.

#include <time.h>

#include <cstdint>

namespace platform {

/// Nanoseconds of the monotonic clock, which stands still while the machine sleeps. Any thread; no lock.
inline std::int64_t NowNanoseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

/// Whole frames at `rate` (Hz) that `nanoseconds`, not negative, hold.
inline std::int64_t FramesIn(std::int64_t nanoseconds, std::uint32_t rate) {
    constexpr std::int64_t second = 1'000'000'000;
    return nanoseconds / second * rate + nanoseconds % second * rate / second;
}

}  // namespace platform
