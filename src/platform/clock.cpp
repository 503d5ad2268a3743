#include "platform/clock.h"

#include <time.h>

namespace platform {

std::int64_t NowNanoseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

}  // namespace platform
