#pragma once

// Listens to a head tracker, on a thread of its own: packets come in at a port of the loopback interface, and
// the newest pose is there for the renderers. One for a process and port; shared by the runs that use it.

#include <atomic>
#include <cstdint>
#include <memory>

#include "numeric/quaternion.h"
#include "slib/log.h"
#include "slib/mutex.h"
#include "slib/realtime.h"
#include "slib/thread.h"

namespace goal {

struct TrackedPose {
    hcml::Quaternion head;
    std::int64_t time = 0;  ///< of its packet, in ns of platform::NowNanoseconds; 0 before the first

    /// Seconds without a packet, from which on the tracker is silent.
    static constexpr double silence = 0.3;

    /// In seconds, at `now`.
    double Age(std::int64_t now) const { return static_cast<double>(now - time) * 1e-9; }
    bool IsFresh(std::int64_t now) const { return time != 0 && Age(now) < silence; }
};

class TrackerInput : private slib::Thread {
public:
    /// Begins to listen, now or as soon as the port is free. `log` is borrowed and outlives this object.
    /// Throws slib::OperatingSystemGetLastErrorException when there is no thread.
    TrackerInput(std::uint16_t port, slib::Log* log);
    ~TrackerInput() override { Stop(); }

    /// Any thread.
    TrackedPose Newest() const SLIB_NONBLOCKING;

    const std::uint16_t port;

private:
    void Run() override;
    void Listen();
    void Report(const char* failure);
    void Take();

    slib::Log* const log;
    bool isReported = false;
    hcml::Quaternion raw;     // as the tracker has it
    hcml::Quaternion centre;  // what is ahead, as the tracker has it

    // The newest pose; odd while it is written.
    std::atomic<std::uint32_t> sequence{0};
    std::atomic<double> w{1}, x{0}, y{0}, z{0};
    std::atomic<std::int64_t> time{0};
};

/// The one input that there is while runs use it. Any thread.
class TrackerInputs {
public:
    /// That of `port`, which lives as long as somebody has it. Null where there is no thread or memory for
    /// it: the sound goes on without.
    std::shared_ptr<const TrackerInput> Use(std::uint16_t port, slib::Log* log) noexcept;

private:
    slib::Mutex mutex;
    std::weak_ptr<const TrackerInput> last SLIB_GUARDED_BY(mutex);
};

}  // namespace goal
