#pragma once

// How long a thread computes without waiting, measured by another one.

#include <sys/types.h>
#include <time.h>

#include <atomic>
#include <cstdint>
#include <optional>

namespace platform {

/// The kernel holds RLIMIT_RTTIME against the time that a real-time thread computes between two waits, each
/// of which is a voluntary switch to another thread. The count of those is read from /proc, and only where
/// the thread's clock, which is read each time, has gone on for long enough.
class SpinMeter {
public:
    /// By the thread that is to be measured, whose time begins now. A few system calls.
    void Begin();

    /// The number of that thread, 0 before the first Begin.
    pid_t Thread() const { return thread.load(std::memory_order_acquire); }

    /// By one other thread. Nanoseconds that the thread has computed at least since it began, or last waited:
    /// 0 while that can't be more than a third of `interesting`. Nothing when it has ended: its clock is
    /// gone, or has gone back, as that of another thread that got the number.
    std::optional<std::int64_t> Measure(std::int64_t interesting);

private:
    std::atomic<pid_t> thread{0};
    clockid_t clock{};                   // written before `thread`
    std::atomic<std::int64_t> begin{0};  // ns of the thread's clock

    // The measuring thread's.
    bool isGone = false;
    std::int64_t lastReading = 0;  // ns of the thread's clock
    std::int64_t waitSeen = 0;     // likewise, at the latest reading before which it had waited
    std::uint64_t switches = 0;    // at that reading
};

}  // namespace platform
