#pragma once

// Calls into libraries that may wait for a server that doesn't answer. Any thread.

#include <functional>

namespace platform {

/// Runs `call` on a thread of its own and waits for its end, but at most two seconds. False when it hasn't
/// ended by then: it runs on alone, and `call` is destroyed when it is over, so everything that it uses
/// belongs into it. This library then stays in memory until the process ends, even when the game unloads it.
/// Where the system refuses the thread `call` runs on the calling one. An exception that leaves it ends
/// there.
bool CallBounded(std::function<void()> call);

}  // namespace platform
