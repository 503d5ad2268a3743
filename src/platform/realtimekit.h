#pragma once

// RealtimeKit, the service of the system that raises threads of ordinary users (org.freedesktop.RealtimeKit1
// on the system bus), by libdbus, which is opened when it is first needed. One thread at a time uses an
// object; none that renders or plays.

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace platform {

class RealtimeKit {
public:
    /// What is done while an answer is awaited, every 10 ms at least. False gives the answer up.
    using Meanwhile = std::function<bool()>;

    /// A connection of our own to the bus that DBUS_SYSTEM_BUS_ADDRESS names, else to the system's. Null
    /// where there is no libdbus, no bus, or none that answers within a second; an address at which even the
    /// connecting hangs is given up after two, in which `meanwhile` isn't called.
    static std::unique_ptr<RealtimeKit> Connect(Meanwhile meanwhile);
    ~RealtimeKit();
    RealtimeKit(const RealtimeKit&) = delete;
    RealtimeKit& operator=(const RealtimeKit&) = delete;

    /// A property that is an integer: "MaxRealtimePriority", "MinNiceLevel", or "RTTimeUSecMax" (µs). Nothing
    /// where there is no service, or none that answers within a second.
    std::optional<std::int64_t> Property(const char* name);

    /// Makes a thread of this process a real-time one of this level, with SCHED_RESET_ON_FORK. False where
    /// the service refuses, or doesn't answer within a second. It refuses a process whose hard RLIMIT_RTTIME
    /// is above RTTimeUSecMax.
    bool MakeRealtime(pid_t thread, int level);
    /// Gives a thread of this process a nice level. False as above.
    bool MakeHighPriority(pid_t thread, int niceLevel);

    /// A call wasn't answered in time. The next one would wait as long again.
    bool hasHung = false;

private:
    struct Bus;

    RealtimeKit(std::unique_ptr<Bus> bus, Meanwhile meanwhile);

    const std::unique_ptr<Bus> bus;
    const Meanwhile meanwhile;
};

}  // namespace platform
