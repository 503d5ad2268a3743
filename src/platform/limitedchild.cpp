#include "platform/limitedchild.h"

#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <exception>

#include "slib/exception.h"

namespace platform {
namespace {

using Clock = std::chrono::steady_clock;
using End = ChildOutcome::End;

constexpr char replyMark = 'R', refusalMark = 'X';
constexpr int withoutReply = 1;  // exit code

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isMemoryFree = true;  // their shadow alone takes terabytes of address space
#else
constexpr bool isMemoryFree = false;
#endif

bool Limit(__rlimit_resource resource, std::uint64_t value) {
    rlimit limit{};
    if (getrlimit(resource, &limit) != 0) return false;
    if (limit.rlim_max < value) value = limit.rlim_max;
    limit.rlim_cur = limit.rlim_max = static_cast<rlim_t>(value);
    return setrlimit(resource, &limit) == 0;
}

bool LimitAll(const ChildLimits& limits) {
    return Limit(RLIMIT_CORE, 0) && Limit(RLIMIT_FSIZE, 0) && Limit(RLIMIT_CPU, limits.processorSeconds) &&
           (isMemoryFree || Limit(RLIMIT_AS, limits.memory));
}

bool WriteAll(int descriptor, const char* bytes, std::size_t count) {
    while (count > 0) {
        const ssize_t written = write(descriptor, bytes, count);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes += written;
        count -= static_cast<std::size_t>(written);
    }
    return true;
}

// Ends the child; the first byte says what the rest is.
[[noreturn]] void Work(const std::function<std::string()>& work, const ChildLimits& limits, int descriptor) {
    int code = withoutReply;
    try {
        if (LimitAll(limits)) {
            char mark = replyMark;
            std::string text;
            try {
                text = work();
            } catch (const std::exception& refusal) {
                mark = refusalMark;
                text = refusal.what();
            }
            if (WriteAll(descriptor, &mark, 1) && WriteAll(descriptor, text.data(), text.size())) code = 0;
        }
    } catch (...) {  // such as no memory for the text
    }
    _exit(code);
}

// False when the time is over or there is too much.
bool ReadAll(int descriptor, const ChildLimits& limits, std::string& bytes) {
    const Clock::time_point end = Clock::now() + limits.patience;
    std::array<char, 65536> part{};
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
        if (left.count() <= 0) return false;
        pollfd ready{descriptor, POLLIN, 0};
        const int count = poll(&ready, 1, static_cast<int>(left.count()));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        const ssize_t length = read(descriptor, part.data(), part.size());
        if (length < 0 && errno == EINTR) continue;
        if (length <= 0) return length == 0;
        bytes.append(part.data(), static_cast<std::size_t>(length));
        if (bytes.size() > limits.replyLength) return false;
    }
}

int WaitFor(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

ChildOutcome OutcomeOf(bool isWhole, int status, std::string bytes) {
    if (!isWhole) return {End::Failure, "it took too long, or found too much"};
    if (WIFSIGNALED(status)) return {End::Failure, "signal " + std::to_string(WTERMSIG(status))};
    if (WEXITSTATUS(status) != 0 || bytes.empty()) return {End::Failure, "it came to no end"};
    const End end = bytes.front() == replyMark ? End::Reply : End::Refusal;
    bytes.erase(0, 1);
    return {end, std::move(bytes)};
}

}  // namespace

ChildOutcome RunInLimitedChild(const std::function<std::string()>& work, const ChildLimits& limits) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) throw slib::OperatingSystemErrnoException("Failed to make a pipe");
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        Work(work, limits, ends[1]);
    }
    close(ends[1]);
    if (child < 0) {
        close(ends[0]);
        throw slib::OperatingSystemErrnoException("Failed to start a process");
    }
    std::string bytes;
    const bool isWhole = ReadAll(ends[0], limits, bytes);
    close(ends[0]);
    if (!isWhole) kill(child, SIGKILL);
    return OutcomeOf(isWhole, WaitFor(child), std::move(bytes));
}

}  // namespace platform
