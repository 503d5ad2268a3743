#include "platform/processorcount.h"

#include <sched.h>

#include <algorithm>
#include <thread>

namespace platform {

// The mask holds 1024 processors; on a machine with more the call fails, and all of them count.
unsigned ProcessorCount() {
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    if (sched_getaffinity(0, sizeof allowed, &allowed) == 0)
        return static_cast<unsigned>(std::max(CPU_COUNT(&allowed), 1));
    return std::max(std::thread::hardware_concurrency(), 1U);
}

}  // namespace platform
