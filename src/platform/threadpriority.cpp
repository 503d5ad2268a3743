#include "platform/threadpriority.h"

#include <sched.h>
#include <sys/resource.h>

#include <algorithm>

namespace platform {
namespace {

constexpr int wantedLevel = 4;  // just above the threads that fill the rings, below the sound server's
constexpr int niceLevel = -15;

// 0 is the calling thread, here and below.
bool TakeRealTimeLevel(int level) {
    const sched_param parameters{.sched_priority = level};
    return sched_setscheduler(0, SCHED_RR | SCHED_RESET_ON_FORK, &parameters) == 0;
}

// What a user may have without a privilege.
int AllowedLevel() {
    rlimit limit{};
    if (getrlimit(RLIMIT_RTPRIO, &limit) != 0) return 0;
    return static_cast<int>(std::min<rlim_t>(limit.rlim_cur, wantedLevel));
}

}  // namespace

void RaiseSoundThread() {
    if (!TakeRealTimeLevel(wantedLevel) && !TakeRealTimeLevel(AllowedLevel()))
        setpriority(PRIO_PROCESS, 0, niceLevel);
}

}  // namespace platform
