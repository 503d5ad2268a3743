#include "goal/trackerinput.h"

#include <array>
#include <cstddef>
#include <exception>
#include <span>
#include <string>
#include <utility>

#include "goal/trackerpacket.h"
#include "platform/clock.h"
#include "platform/packetsocket.h"
#include "slib/mutex.h"

namespace goal {

TrackerInput::TrackerInput(std::uint16_t port, slib::Log* log)
    : Thread("Tracker", Priority::AboveNormal), port(port), log(log) {
    Start();
}

TrackedPose TrackerInput::Newest() const {
    constexpr int tries = 8;
    TrackedPose pose;
    for (int i = 0; i < tries; ++i) {
        const std::uint32_t before = sequence.load(std::memory_order_acquire);
        pose = {{w.load(std::memory_order_relaxed), x.load(std::memory_order_relaxed),
                 y.load(std::memory_order_relaxed), z.load(std::memory_order_relaxed)},
                time.load(std::memory_order_relaxed)};
        std::atomic_thread_fence(std::memory_order_acquire);
        if (before % 2 == 0 && sequence.load(std::memory_order_relaxed) == before) break;
    }
    pose.head = Normalised(pose.head);  // even of two poses
    return pose;
}

void TrackerInput::Run() {
    constexpr std::uint32_t pause = 1000, step = 50;  // ms
    slib::Semaphore never;
    while (!IsStopRequested()) {
        try {
            Listen();
        } catch (const std::exception& failure) {
            Report(failure.what());
        }
        for (std::uint32_t passed = 0; passed < pause && !IsStopRequested(); passed += step)
            static_cast<void>(never.WaitFor(step));
    }
}

void TrackerInput::Listen() {
    const platform::PacketSocket socket(port);
    std::array<std::byte, 1024> buffer;
    while (!IsStopRequested() && socket.IsOurs()) {
        const std::size_t size = socket.Receive(buffer);
        if (size == 0) continue;
        const TrackerPacket packet = ParseTrackerPacket(std::span(buffer).first(size));
        if (packet.kind == TrackerPacket::Kind::Centre) centre = raw;
        if (packet.kind == TrackerPacket::Kind::Pose) raw = packet.head;
        if (packet.kind != TrackerPacket::Kind::Unknown) Take();
    }
}

// Once: another program has the port, and may have it for long.
void TrackerInput::Report(const char* failure) {
    if (std::exchange(isReported, true)) return;
    try {
        log->Write("No head tracker can be heard: " + std::string(failure), true);
    } catch (const std::exception&) {  // no memory for a line
    }
}

void TrackerInput::Take() {
    const hcml::Quaternion pose = Inverse(centre) * raw;
    sequence.fetch_add(1, std::memory_order_acq_rel);
    w.store(pose.w, std::memory_order_relaxed);
    x.store(pose.x, std::memory_order_relaxed);
    y.store(pose.y, std::memory_order_relaxed);
    z.store(pose.z, std::memory_order_relaxed);
    time.store(platform::NowNanoseconds(), std::memory_order_relaxed);
    sequence.fetch_add(1, std::memory_order_release);
}

std::shared_ptr<const TrackerInput> TrackerInputs::Use(std::uint16_t port, slib::Log* log) noexcept {
    try {
        const slib::Lock lock(mutex);
        std::shared_ptr<const TrackerInput> input = last.lock();
        if (!input || input->port != port) last = input = std::make_shared<TrackerInput>(port, log);
        return input;
    } catch (const std::exception&) {
        return nullptr;
    }
}

}  // namespace goal
