#pragma once

// The clock that outputs without hardware are paced by, and between whose ticks a play cursor is
// interpolated.

#include <cstdint>

namespace platform {

/// Nanoseconds of the monotonic clock, which stands still while the machine sleeps. Any thread; no lock.
std::int64_t NowNanoseconds();

/// Whole frames at `rate` (Hz) that `nanoseconds`, not negative, hold.
inline std::int64_t FramesIn(std::int64_t nanoseconds, std::uint32_t rate) {
    constexpr std::int64_t second = 1'000'000'000;
    return nanoseconds / second * rate + nanoseconds % second * rate / second;
}

}  // namespace platform
