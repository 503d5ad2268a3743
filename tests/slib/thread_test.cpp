#include "slib/thread.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "slib/exception.h"
#include "tests/support/process.h"

namespace {

using Priority = slib::Thread::Priority;

// A thread whose body is a function. It can also sleep until it is woken.
class BodyThread : public slib::Thread {
public:
    explicit BodyThread(std::function<void(BodyThread&)> body, Priority priority = Priority::Normal)
        : Thread("Body", priority), body(std::move(body)) {}
    ~BodyThread() override { WakeAndStop(); }

    void Sleep() {
        while (!IsStopRequested())
            wake.Wait();
    }
    void WakeAndStop() {
        if (!RequestStop()) return;
        wake.Post();
        AwaitEnd();
    }

private:
    void Run() override { body(*this); }
    std::function<void(BodyThread&)> body;
    slib::Semaphore wake;
};

// Runs `body` on a thread of the priority and gives back what it printed to standard error.
std::string RunAt(Priority priority, const std::function<void()>& body) {
    testing::internal::CaptureStderr();
    BodyThread thread([&](BodyThread&) { body(); }, priority);
    thread.Start();
    thread.Stop();
    return testing::internal::GetCapturedStderr();
}

TEST(Thread, Stop_BeforeDuringAndAfterARun_ReturnsAndIsNotSeenByTheNextRun) {
    bool wasTold = false;
    slib::Semaphore ran;
    BodyThread thread([&](BodyThread& self) {
        wasTold = self.IsStopRequested();
        ran.Post();
    });
    thread.Stop();
    for (int i = 0; i < 200; ++i) {
        thread.Start();
        if (i % 2 == 1) thread.Stop();
        ran.Wait();
        EXPECT_TRUE(i % 2 == 1 || !wasTold);
        thread.Stop();
        EXPECT_FALSE(thread.IsStopRequested());
    }
}

// What its last step throws, or nothing, and the line for it.
TEST(RunningThread, RefusesAStart_AndReleasesEveryStopperAtItsEnd) {
    const std::pair<void (*)(), const char*> lastSteps[] = {
        {[] {}, ""},
        {[] { throw slib::BadStateException("No room."); }, "Unhandled exception in thread: No room.\n"},
        {[] { throw 3; }, "Unknown unhandled exception in thread.\n"}};
    for (const auto& [lastStep, expected] : lastSteps) {
        std::atomic<bool> ended = false;
        BodyThread thread([&, lastStep = lastStep](BodyThread& self) {
            self.Stop();  // does nothing
            self.Sleep();
            ended = true;
            lastStep();
        });
        testing::internal::CaptureStderr();
        thread.Start();
        EXPECT_THROW(thread.Start(), slib::BadStateException);
        std::vector<std::thread> stoppers(4);
        for (std::thread& stopper : stoppers)
            stopper = std::thread([&] {
                thread.WakeAndStop();
                EXPECT_TRUE(ended);
            });
        for (std::thread& stopper : stoppers)
            stopper.join();
        EXPECT_EQ(testing::internal::GetCapturedStderr(), expected);
    }
}

TEST(Thread, Start_GivesTheEndOfTheNameAndNoSignalsOfTheGameButFaults) {
    char shown[32] = "";
    sigset_t inside, outside;
    RunAt(Priority::Normal, [&] {
        pthread_getname_np(pthread_self(), shown, sizeof shown);
        pthread_sigmask(SIG_SETMASK, nullptr, &inside);
    });
    pthread_sigmask(SIG_SETMASK, nullptr, &outside);
    EXPECT_STREQ(shown, "wbrookLabs:Body");
    for (const int signal : {SIGINT, SIGTERM, SIGCHLD, SIGRTMIN})
        EXPECT_TRUE(sigismember(&inside, signal) && !sigismember(&outside, signal)) << signal;
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT})
        EXPECT_FALSE(sigismember(&inside, signal)) << signal;
}

// What the scheduler holds about a thread; the policy with the flag that keeps it from what is forked.
struct Scheduling {
    int policy = 0, level = 0, nice = 0;
    bool operator==(const Scheduling&) const = default;
};
Scheduling OfThisThread() {
    sched_param parameters{};
    sched_getparam(0, &parameters);
    return {sched_getscheduler(0), parameters.sched_priority, getpriority(PRIO_PROCESS, 0)};
}

const char* const refusedPriority = "Failed to set thread priority.\n";

// By this user, who may have what the limit allows.
int NearestNice(int level) {
    rlimit limit{};
    getrlimit(RLIMIT_NICE, &limit);
    return geteuid() == 0 ? level
                          : std::max(level, 20 - static_cast<int>(std::min<rlim_t>(limit.rlim_cur, 40)));
}

TEST(ThreadPriority, NiceLevel_IsThatOfTheTableOrNearestToItOrRefusedWithOneLine) {
    const Scheduling own = OfThisThread();
    std::string lines;
    bool isOneRefused = false;
    for (const auto& [priority, level] : {std::pair{Priority::Normal, own.nice},
                                          {Priority::BelowNormal, 5},
                                          {Priority::AboveNormal, -5},
                                          {Priority::Highest, -10}}) {
        Scheduling taken, expected = own;
        lines += RunAt(priority, [&] { taken = OfThisThread(); });
        const bool isRefused = level < own.nice && NearestNice(level) >= own.nice;
        isOneRefused = isOneRefused || isRefused;
        if (!isRefused) expected.nice = level < own.nice ? NearestNice(level) : level;
        if (expected.nice < own.nice) expected.policy |= SCHED_RESET_ON_FORK;
        EXPECT_EQ(taken, expected) << level;
    }
    EXPECT_EQ(lines, isOneRefused ? refusedPriority : "");
}

TEST(ThreadPriority, NiceLevelBeyondTheLimit_IsThatOfTheLimit) {
    const auto limit = [] {
        const rlimit none{0, 0}, upToMinusFive{25, 25};
        setrlimit(RLIMIT_RTPRIO, &none);
        return setrlimit(RLIMIT_NICE, &upToMinusFive);
    };
    if (!testing_support::IsAlone()) {
        if (testing_support::RunInChild(limit) != 0) GTEST_SKIP() << "The limit can't be raised here.";
        EXPECT_EQ(testing_support::RunThisTestAlone(), 0);
        return;
    }
    EXPECT_EQ(limit(), 0);
    EXPECT_TRUE(geteuid() != 0 || seteuid(65534) == 0);
    for (const Priority priority : {Priority::Highest, Priority::TimeCritical}) {
        Scheduling taken;
        EXPECT_EQ(RunAt(priority, [&] { taken = OfThisThread(); }), "");
        EXPECT_EQ(taken, (Scheduling{SCHED_OTHER | SCHED_RESET_ON_FORK, 0, -5}));
    }
    EXPECT_EQ(seteuid(getuid()), 0);
    prctl(PR_SET_DUMPABLE, 1);
}

class RealTimeLimit : public testing::TestWithParam<rlim_t> {};

TEST_P(RealTimeLimit, OfAUserWithoutRights_IsWhatATimeCriticalThreadGetsOrALine) {
    if (!testing_support::IsAlone()) {
        EXPECT_EQ(testing_support::RunThisTestAlone(), 0);
        return;
    }
    const rlimit none{0, 0};
    rlimit limit{GetParam(), GetParam()};
    setrlimit(RLIMIT_NICE, &none);
    setrlimit(RLIMIT_RTPRIO, &limit);
    getrlimit(RLIMIT_RTPRIO, &limit);  // may be lower than that, where we lack the right to raise it
    EXPECT_TRUE(geteuid() != 0 || seteuid(65534) == 0);
    Scheduling expected = OfThisThread();
    expected.level = std::min(static_cast<int>(limit.rlim_cur), 3);
    if (expected.level > 0) expected.policy = SCHED_RR | SCHED_RESET_ON_FORK;
    Scheduling taken;
    EXPECT_EQ(RunAt(Priority::TimeCritical, [&] { taken = OfThisThread(); }),
              expected.level > 0 ? "" : refusedPriority);
    EXPECT_EQ(taken, expected);
    EXPECT_EQ(RunAt(Priority::TimeCritical, [] {}), "");  // there is one line at most
    // The search for leaks at the end traces this process.
    EXPECT_EQ(seteuid(getuid()), 0);
    prctl(PR_SET_DUMPABLE, 1);
}

INSTANTIATE_TEST_SUITE_P(Limits, RealTimeLimit, testing::Values(0, 2, 99));

TEST(Thread, InAForkedChild_CountsAsNotRunning) {
    auto thread = std::make_unique<BodyThread>(&BodyThread::Sleep);
    thread->Start();
    EXPECT_EQ(testing_support::RunInChild([&] {
                  alarm(20);  // for the case that it waits
                  thread.reset();
                  return 3;
              }),
              3);
}

TEST(Mutex, OwnerLocksAgain_AndOthersWaitForTheLastUnlock) {
    slib::Mutex mutex;
    std::atomic<bool> entered = false;
    mutex.Lock();
    slib::Lock second(mutex);
    std::thread other([&] {
        const slib::Lock lock(mutex);
        entered = true;
    });
    second.Release();
    second.Release();  // gives nothing up twice
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(entered);
    mutex.Unlock();
    other.join();
}

}  // namespace
