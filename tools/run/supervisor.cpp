#include "tools/run/supervisor.h"

#include <signal.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>

#include "slib/exception.h"
#include "tools/run/processes.h"

namespace tool {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::array<int, 2> ofTheTerminal{SIGINT, SIGQUIT};
constexpr std::array<int, 2> passedOn{SIGTERM, SIGHUP};

// Signals that wait to be looked at while this object lives, all but those that the starter of this program
// has ignored.
class HeldSignals {
public:
    HeldSignals() {
        signal(SIGCHLD, SIG_DFL);  // ignored, it would take away what the end of a process says
        sigemptyset(&held);
        sigaddset(&held, SIGCHLD);
        for (const auto& list : {ofTheTerminal, passedOn})
            for (const int number : list)
                if (!IsIgnored(number)) sigaddset(&held, number);
        sigprocmask(SIG_BLOCK, &held, &before);
    }
    ~HeldSignals() { sigprocmask(SIG_SETMASK, &before, nullptr); }
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;

    // The next one, or 0 when the time is over.
    int Await(std::chrono::milliseconds patience) const {
        const timespec time{static_cast<time_t>(patience.count() / 1000),
                            static_cast<long>(patience.count() % 1000 * 1'000'000)};
        const int number = sigtimedwait(&held, nullptr, &time);
        return number > 0 ? number : 0;
    }

    sigset_t before;

private:
    static bool IsIgnored(int number) {
        struct sigaction action {};
        sigaction(number, nullptr, &action);
        return action.sa_handler == SIG_IGN;
    }

    sigset_t held;
};

pid_t Start(char** arguments, const sigset_t& mask) {
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    posix_spawnattr_setsigmask(&attributes, &mask);
    pid_t process = 0;
    const int code = posix_spawnp(&process, arguments[0], nullptr, &attributes, arguments, environ);
    posix_spawnattr_destroy(&attributes);
    if (code == 0) return process;
    throw slib::BadParameterException(std::string("'") + arguments[0] +
                                      "' can't be started: " + std::strerror(code) +
                                      ". Give its full path, or the name of a program that PATH finds.");
}

class Supervisor {
public:
    Supervisor(char** arguments, const std::function<void(const std::string&)>& say)
        : program(arguments[0]), say(say), start(Clock::now()), first(Start(arguments, signals.before)) {}

    Ending Wait(const std::function<void()>& look) {
        while (TakeEnded() && !isDone) {
            look();
            TellOfWait();
            Obey(signals.Await(Pause()));
        }
        return ending;
    }

private:
    // Takes note of all processes that have ended; false when there is none left.
    bool TakeEnded() {
        for (;;) {
            siginfo_t info{};
            if (waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) != 0) {
                if (errno == EINTR) continue;
                return false;
            }
            if (info.si_pid == 0) return true;
            const std::string name = ProgramOf(info.si_pid);
            int status = 0;
            while (waitpid(info.si_pid, &status, 0) < 0 && errno == EINTR) {
            }
            Note(info.si_pid, name, status);
        }
    }

    void Note(pid_t process, const std::string& name, int status) {
        if (process == first) {
            ending.status = status;
            hasFirstEnded = true;
            firstEnd = Clock::now();
        } else if (WIFSIGNALED(status)) {
            ending.killed.push_back({name, WTERMSIG(status)});
        }
    }

    std::chrono::milliseconds Pause() const {
        const bool isFresh = Clock::now() - start < std::chrono::seconds(2);
        return std::chrono::milliseconds(isFresh ? 10 : 500);
    }

    void TellOfWait() {
        if (!hasFirstEnded || isWaitTold || Clock::now() - firstEnd < std::chrono::seconds(1)) return;
        isWaitTold = true;
        std::string names;
        for (const pid_t process : Descendants())
            names +=
                (names.empty() ? "'" : ", '") + ProgramOf(process) + "' (" + std::to_string(process) + ")";
        say("'" + program + "' has ended. Waiting for what it started: " + names + ". Ctrl+C ends the wait.");
    }

    void Obey(int number) {
        for (const int mine : passedOn)
            if (number == mine) PassOn(number);
        for (const int mine : ofTheTerminal)
            if (number == mine && hasFirstEnded) isDone = true;
    }

    void PassOn(int number) const {
        if (!hasFirstEnded)
            kill(first, number);
        else
            for (const pid_t process : Descendants())
                kill(process, number);
    }

    const std::string program;
    const std::function<void(const std::string&)>& say;
    const HeldSignals signals;  // before the start
    const Clock::time_point start;
    const pid_t first;
    Ending ending;
    bool hasFirstEnded = false, isWaitTold = false, isDone = false;
    Clock::time_point firstEnd;
};

}  // namespace

Ending Supervise(char** arguments, const std::function<void()>& look,
                 const std::function<void(const std::string&)>& say) {
    prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0);
    return Supervisor(arguments, say).Wait(look);
}

}  // namespace tool
