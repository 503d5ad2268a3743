#include "slib/priority.h"

#include <sched.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <iostream>
#include <string>

namespace slib {
namespace {

// 0 is the calling thread, here and below.
bool TakeExactly(int level) {
    const sched_param parameters{.sched_priority = level};
    return sched_setscheduler(0, SCHED_RR | SCHED_RESET_ON_FORK, &parameters) == 0;
}

void KeepFromChildren() {
    sched_param parameters{};
    const int policy = sched_getscheduler(0);
    if (policy >= 0 && sched_getparam(0, &parameters) == 0)
        sched_setscheduler(0, policy | SCHED_RESET_ON_FORK, &parameters);
}

// The highest nice level that the user may have without a privilege; the limit counts from 20 downwards.
int AllowedNiceLevel() {
    constexpr rlim_t span = 40;
    rlimit limit{};
    if (getrlimit(RLIMIT_NICE, &limit) != 0) return 20;
    return 20 - static_cast<int>(std::min(limit.rlim_cur, span));
}

}  // namespace

bool TakeRealTimeLevel(int level) {
    if (TakeExactly(level)) return true;
    rlimit limit{};
    if (getrlimit(RLIMIT_RTPRIO, &limit) != 0 || limit.rlim_cur >= static_cast<rlim_t>(level)) return false;
    const int allowed = static_cast<int>(limit.rlim_cur);
    return allowed >= sched_get_priority_min(SCHED_RR) && TakeExactly(allowed);
}

void LeaveRealTimeClass() {
    const int policy = sched_getscheduler(0) & ~SCHED_RESET_ON_FORK;
    if (policy != SCHED_RR && policy != SCHED_FIFO) return;
    const sched_param none{};
    sched_setscheduler(0, SCHED_OTHER | SCHED_RESET_ON_FORK, &none);
}

// A nice level belongs to one thread here, and counts outside of the real-time classes only.
bool TakeNiceLevel(int level) {
    LeaveRealTimeClass();
    const int before = getpriority(PRIO_PROCESS, 0);
    bool isTaken = setpriority(PRIO_PROCESS, 0, level) == 0;
    if (!isTaken) {
        const int nearest = std::max(level, AllowedNiceLevel());
        isTaken = nearest < before ? setpriority(PRIO_PROCESS, 0, nearest) == 0 : before < 0;
    }
    if (isTaken && level < 0) KeepFromChildren();
    return isTaken;
}

void ReportRefusedPriority() noexcept {
    static std::atomic_flag isReported;
    if (!isReported.test_and_set() && std::getenv("TESSARUNE_QUIET") == nullptr)
        WriteToStandardError("Failed to set thread priority.", "");
}

void WriteToStandardError(const char* prefix, const char* text) noexcept {
    try {
        std::cerr << std::string(prefix) + text + "\n" << std::flush;
    } catch (...) {
    }
}

}  // namespace slib
