#include "platform/spinmeter.h"

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace platform {
namespace {

std::int64_t Nanoseconds(const timespec& time) {
    return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

// Where it can't be read, as with no descriptor left, the thread counts as one that hasn't waited.
std::optional<std::uint64_t> ReadSwitches(pid_t thread) {
    constexpr std::string_view name = "\nvoluntary_ctxt_switches:\t";
    std::array<char, 4096> text{};
    const std::string file = "/proc/self/task/" + std::to_string(thread) + "/status";
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return {};
    const ssize_t size = read(descriptor, text.data(), text.size());
    close(descriptor);
    const std::string_view all(text.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    const std::size_t place = all.find(name);
    if (place == std::string_view::npos) return {};
    std::uint64_t count = 0;
    std::from_chars(all.data() + place + name.size(), all.data() + all.size(), count);
    return count;
}

}  // namespace

void SpinMeter::Begin() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    begin.store(Nanoseconds(now), std::memory_order_relaxed);
    if (Thread() != 0) return;
    pthread_getcpuclockid(pthread_self(), &clock);
    thread.store(gettid(), std::memory_order_release);
}

std::optional<std::int64_t> SpinMeter::Measure(std::int64_t interesting) {
    const pid_t id = Thread();
    if (id == 0) return 0;
    timespec time{};
    isGone = isGone || clock_gettime(clock, &time) != 0;
    const std::int64_t now = Nanoseconds(time);
    isGone = isGone || now < std::exchange(lastReading, now);
    if (isGone) return {};
    const std::int64_t computed = now - std::max(waitSeen, begin.load(std::memory_order_relaxed));
    if (computed <= interesting / 3) return 0;
    const std::optional<std::uint64_t> count = ReadSwitches(id);
    if (!count || std::exchange(switches, *count) == *count) return computed;
    waitSeen = now;
    return 0;
}

}  // namespace platform
