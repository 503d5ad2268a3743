#pragma once

// Whether the process has rights that the user who started it lacks.

#include <sys/auxv.h>

namespace platform {

/// True in a set-user-ID or set-group-ID program, and in one with capabilities of its own: nothing that its
/// caller wrote (the environment, links, settings) may then choose a file that is written, or one that is
/// read elsewhere. The same for the life of the process; any thread.
inline bool HasMoreRightsThanItsCaller() {
    return getauxval(AT_SECURE) != 0;
}

}  // namespace platform
