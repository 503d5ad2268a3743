#include "slib/thread.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "process.h"
#include "slib/exception.h"

namespace {

using slib::Thread;
using testing_support::IsAlone;
using testing_support::RunInChild;
using testing_support::RunTestAlone;
using testing_support::ThisTest;

// A thread whose body is a function. It can also sleep until it is woken.
class BodyThread : public Thread {
public:
    using Body = std::function<void(BodyThread&)>;
    explicit BodyThread(Body body, std::string name = "Body", Priority priority = Priority::Normal)
        : Thread(std::move(name), priority), body(std::move(body)) {}
    ~BodyThread() override { WakeAndStop(); }

    void WakeAndStop() {
        if (!RequestStop()) return;
        wake.Post();
        AwaitEnd();
    }

    slib::Semaphore wake;

private:
    void Run() override { body(*this); }
    Body body;
};

void Sleep(BodyThread& thread) {
    while (!thread.IsStopRequested())
        thread.wake.Wait();
}

// Runs `body` on a thread of the priority and gives back what it printed to standard error.
std::string RunAt(Thread::Priority priority, const std::function<void()>& body) {
    testing::internal::CaptureStderr();
    {
        slib::Semaphore done;
        BodyThread thread(
            [&](BodyThread&) {
                body();
                done.Post();
            },
            "Body", priority);
        thread.Start();
        done.Wait();
    }
    return testing::internal::GetCapturedStderr();
}

TEST(Thread, Start_OfABodyThatEndsAtOnce_RunsItOnceEachTime) {
    std::atomic<int> runs = 0;
    std::atomic<int> told = 0;
    BodyThread thread([&](BodyThread& self) {
        ++runs;
        told += self.IsStopRequested() ? 1 : 0;
    });
    for (int i = 1; i <= 200; ++i) {
        thread.Start();
        thread.Stop();
        EXPECT_FALSE(thread.IsStopRequested());
        thread.Stop();  // of an ended thread: leaves nothing behind that the next body would see
        EXPECT_FALSE(thread.IsStopRequested());
        EXPECT_EQ(runs, i);
    }
    EXPECT_LE(told, 200);
}

TEST(Thread, StopOfAnEndedThread_IsNotSeenByTheNextRun) {
    slib::Semaphore ran;
    std::vector<bool> told;
    {
        BodyThread thread([&](BodyThread& self) {
            told.push_back(self.IsStopRequested());
            ran.Post();
        });
        for (int i = 0; i < 3; ++i) {
            while (true) {  // until the body before has ended, and not merely posted
                try {
                    thread.Start();
                    break;
                } catch (const slib::BadStateException&) {
                    std::this_thread::yield();
                }
            }
            ran.Wait();
            thread.Stop();
            thread.Stop();
        }
    }
    EXPECT_EQ(told, std::vector<bool>(3, false));
}

TEST(Thread, StopBeforeStart_ReturnsAtOnce) {
    BodyThread thread(Sleep);
    thread.Stop();
    EXPECT_FALSE(thread.IsStopRequested());
}

TEST(Thread, StartOfARunningThread_IsRefusedAndLeavesItRunning) {
    std::atomic<int> runs = 0;
    BodyThread thread([&](BodyThread& self) {
        ++runs;
        Sleep(self);
    });
    thread.Start();
    EXPECT_THROW(thread.Start(), slib::BadStateException);
    thread.WakeAndStop();
    EXPECT_EQ(runs, 1);
}

TEST(Thread, ManyStoppersAtOnce_AllReturnAfterTheEnd) {
    for (int pass = 0; pass < 20; ++pass) {
        std::atomic<bool> ended = false;
        std::atomic<int> early = 0;
        BodyThread thread([&](BodyThread& self) {
            Sleep(self);
            std::this_thread::yield();
            ended = true;
        });
        thread.Start();
        std::vector<std::thread> stoppers;
        for (int i = 0; i < 4; ++i)
            stoppers.emplace_back([&] {
                thread.WakeAndStop();
                early += ended ? 0 : 1;
            });
        for (std::thread& stopper : stoppers)
            stopper.join();
        EXPECT_EQ(early, 0);
        EXPECT_FALSE(thread.IsStopRequested());
    }
}

TEST(Thread, StopByTheBodyItself_ReturnsAndLeavesNoRequestBehind) {
    BodyThread thread([](BodyThread& self) {
        self.Stop();
        Sleep(self);
    });
    for (int i = 0; i < 2; ++i) {
        thread.Start();
        EXPECT_FALSE(thread.IsStopRequested());
        thread.WakeAndStop();
    }
}

struct ThrowingBody {
    void (*raise)();
    const char* line;
};

class ThreadException : public testing::TestWithParam<ThrowingBody> {};

TEST_P(ThreadException, OutOfTheBody_IsALineAndReleasesEveryStopper) {
    testing::internal::CaptureStderr();
    {
        BodyThread thread([](BodyThread& self) {
            Sleep(self);
            GetParam().raise();
        });
        thread.Start();
        std::thread other([&] { thread.WakeAndStop(); });
        thread.WakeAndStop();
        other.join();
        thread.Stop();  // returns, since the thread no longer runs
        thread.Start();
    }
    const std::string line = GetParam().line;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), line + line);
}

INSTANTIATE_TEST_SUITE_P(Bodies, ThreadException,
                         testing::Values(ThrowingBody{[] { throw slib::BadStateException("No room."); },
                                                      "Unhandled exception in thread: No room.\n"},
                                         ThrowingBody{[] { throw std::out_of_range("far"); },
                                                      "Unhandled exception in thread: far\n"},
                                         ThrowingBody{[] { throw 3; },
                                                      "Unknown unhandled exception in thread.\n"}));

// While this lives the system refuses every new thread: none can have a stack of that size.
class ThreadsRefused {
public:
    ThreadsRefused() {
        pthread_getattr_default_np(&before);
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        pthread_attr_setstacksize(&attributes, std::size_t{1} << 50);
        pthread_setattr_default_np(&attributes);
        pthread_attr_destroy(&attributes);
    }
    ~ThreadsRefused() {
        pthread_setattr_default_np(&before);
        pthread_attr_destroy(&before);
    }
    ThreadsRefused(const ThreadsRefused&) = delete;
    ThreadsRefused& operator=(const ThreadsRefused&) = delete;

private:
    pthread_attr_t before;
};

TEST(Thread, RefusedCreation_ThrowsWithTheCodeAndLeavesTheObjectUsable) {
    std::atomic<int> runs = 0;
    BodyThread thread([&](BodyThread& self) {
        ++runs;
        Sleep(self);
    });
    {
        const ThreadsRefused refused;
        try {
            thread.Start();
            FAIL();
        } catch (const slib::OperatingSystemGetLastErrorException& failure) {
            EXPECT_EQ(failure.what(), "A thread could not be created. [Error " + std::to_string(errno) + "]");
        }
        thread.Stop();
    }
    EXPECT_EQ(runs, 0);
    thread.Start();
    thread.WakeAndStop();
    EXPECT_EQ(runs, 1);
}

TEST(Thread, StopWhileTheCreationIsRefused_Returns) {
    BodyThread thread(Sleep);
    std::atomic<bool> done = false;
    std::atomic<int> stops = 0;
    std::thread stopper([&] {
        while (!done) {
            thread.Stop();
            ++stops;
        }
    });
    while (stops == 0)
        std::this_thread::yield();
    {
        const ThreadsRefused refused;
        for (int i = 0; i < 20000; ++i)  // few of them meet a Stop in between
            EXPECT_THROW(thread.Start(), slib::OperatingSystemGetLastErrorException);
    }
    done = true;
    stopper.join();
    EXPECT_FALSE(thread.IsStopRequested());
}

TEST(Thread, Name_IsWhatFitsOfItsEnd) {
    std::array<char, 32> shown{};
    slib::Semaphore done;
    BodyThread thread(
        [&](BodyThread&) {
            pthread_getname_np(pthread_self(), shown.data(), shown.size());
            done.Post();
        },
        "Renderer");
    thread.Start();
    done.Wait();
    EXPECT_STREQ(shown.data(), "okLabs:Renderer");
}

TEST(Thread, Signals_OfTheGameAreHeldBackAndFaultsAreNot) {
    sigset_t before;
    sigset_t after;
    sigset_t inside;
    pthread_sigmask(SIG_SETMASK, nullptr, &before);
    RunAt(Thread::Priority::Normal, [&] { pthread_sigmask(SIG_SETMASK, nullptr, &inside); });
    pthread_sigmask(SIG_SETMASK, nullptr, &after);
    for (const int signal : {SIGINT, SIGTERM, SIGUSR1, SIGALRM, SIGCHLD, SIGRTMIN})
        EXPECT_TRUE(sigismember(&inside, signal)) << signal;
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT})
        EXPECT_FALSE(sigismember(&inside, signal)) << signal;
    for (int signal = 1; signal <= SIGRTMAX; ++signal)
        EXPECT_EQ(sigismember(&before, signal), sigismember(&after, signal)) << signal;
}

// What the scheduler holds about the calling thread.
struct Scheduling {
    int policy = sched_getscheduler(0) & ~SCHED_RESET_ON_FORK;
    int level = Level();
    int nice = getpriority(PRIO_PROCESS, 0);

    static int Level() {
        sched_param parameters{};
        sched_getparam(0, &parameters);
        return parameters.sched_priority;
    }
};

// Whether the machine lets this test have what is asked for, tried on a thread of its own.
template <typename Try>
bool IsAllowed(const Try& attempt) {
    bool allowed = false;
    std::thread([&] { allowed = attempt() == 0; }).join();
    return allowed;
}

struct NiceCase {
    Thread::Priority priority;
    int change;
};

class ThreadPriority : public testing::TestWithParam<NiceCase> {};

TEST_P(ThreadPriority, NiceLevel_IsThatOfTheTableOrRefusedWithALine) {
    const int own = Scheduling().nice;
    const int wanted = GetParam().change == 0 ? own : GetParam().change;
    const bool allowed = IsAllowed([&] { return setpriority(PRIO_PROCESS, 0, wanted); });
    int taken = 99;
    int ofAThreadFromThere = 99;
    const std::string printed = RunAt(GetParam().priority, [&] {
        taken = Scheduling().nice;
        std::thread([&] { ofAThreadFromThere = Scheduling().nice; }).join();
    });
    EXPECT_EQ(printed, allowed ? "" : "Failed to set thread priority.\n");
    EXPECT_EQ(taken, allowed ? wanted : own);
    EXPECT_EQ(ofAThreadFromThere, wanted < 0 && allowed ? 0 : taken);
    EXPECT_EQ(Scheduling().nice, own);
}

INSTANTIATE_TEST_SUITE_P(Levels, ThreadPriority,
                         testing::Values(NiceCase{Thread::Priority::Normal, 0},
                                         NiceCase{Thread::Priority::BelowNormal, 5},
                                         NiceCase{Thread::Priority::AboveNormal, -5},
                                         NiceCase{Thread::Priority::Highest, -10}));

TEST(ThreadPriorityTimeCritical, Thread_IsRealTimeWhereTheSystemAllowsIt) {
    const bool allowed = IsAllowed([] {
        const sched_param parameters{.sched_priority = 10};
        return sched_setscheduler(0, SCHED_RR, &parameters);
    });
    Scheduling taken;
    Scheduling ofAThreadFromThere;
    RunAt(Thread::Priority::TimeCritical, [&] {
        taken = Scheduling();
        std::thread([&] { ofAThreadFromThere = Scheduling(); }).join();
    });
    EXPECT_EQ(taken.policy, allowed ? SCHED_RR : Scheduling().policy);
    EXPECT_EQ(taken.level, allowed ? 10 : 0);
    EXPECT_EQ(ofAThreadFromThere.policy, Scheduling().policy);
}

TEST(ThreadPriorityTimeCritical, ValueOutsideTheTable_IsALineAndRuns) {
    bool ran = false;
    EXPECT_EQ(RunAt(static_cast<Thread::Priority>(17), [&] { ran = true; }),
              "Failed to set thread priority.\n");
    EXPECT_TRUE(ran);
}

// For a process that is alone: no rights of the superuser, and a limit for real-time levels of `wanted`, or
// the greatest below it that this process may set itself. Gives back that limit.
int DropRights(rlim_t wanted) {
    const rlimit none{0, 0};
    EXPECT_EQ(setrlimit(RLIMIT_NICE, &none), 0);
    rlimit realTime{wanted, wanted};
    if (setrlimit(RLIMIT_RTPRIO, &realTime) != 0) {
        getrlimit(RLIMIT_RTPRIO, &realTime);
        realTime.rlim_max = realTime.rlim_cur = std::min(realTime.rlim_max, wanted);
        EXPECT_EQ(setrlimit(RLIMIT_RTPRIO, &realTime), 0);
    }
    EXPECT_TRUE(geteuid() != 0 || seteuid(65534) == 0);
    return static_cast<int>(realTime.rlim_cur);
}

class ThreadPriorityLimit : public testing::TestWithParam<rlim_t> {};

TEST_P(ThreadPriorityLimit, TimeCriticalThread_TakesWhatTheLimitAllowsOrIsALineAndRuns) {
    if (!IsAlone()) {
        EXPECT_EQ(RunTestAlone(ThisTest()), 0);
        return;
    }
    const int allowed = DropRights(GetParam());
    Scheduling taken;
    const auto take = [&] { taken = Scheduling(); };
    EXPECT_EQ(RunAt(Thread::Priority::TimeCritical, take),
              allowed > 0 ? "" : "Failed to set thread priority.\n");
    EXPECT_EQ(taken.level, allowed);
    EXPECT_EQ(taken.nice, Scheduling().nice);
    EXPECT_EQ(RunAt(Thread::Priority::BelowNormal, take), "");
    EXPECT_EQ(taken.nice, 5);
    // The search for leaks at the end traces this process.
    EXPECT_EQ(seteuid(getuid()), 0);
    prctl(PR_SET_DUMPABLE, 1);
}

INSTANTIATE_TEST_SUITE_P(Limits, ThreadPriorityLimit, testing::Values(0, 3));

TEST(Thread, InAForkedChild_CountsAsNotRunning) {
    auto thread = std::make_unique<BodyThread>(Sleep);
    thread->Start();
    EXPECT_EQ(RunInChild([&] {
                  alarm(20);  // for the case that it waits
                  thread->WakeAndStop();
                  thread.reset();
                  return 3;
              }),
              3);
    thread->WakeAndStop();
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
    EXPECT_TRUE(entered);
}

TEST(Lock, ExceptionThatPasses_ReleasesTheMutex) {
    slib::Mutex mutex;
    try {
        const slib::Lock lock(mutex);
        throw 1;
    } catch (int) {
    }
    std::thread([&] { const slib::Lock lock(mutex); }).join();
}

TEST(Semaphore, PostsOfManyThreads_LetExactlyAsManyWaitsThrough) {
    slib::Semaphore semaphore;
    std::atomic<int> passed = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int pass = 0; pass < 100; ++pass) {
                semaphore.Wait();
                ++passed;
            }
        });
    for (int i = 0; i < 2; ++i)
        threads.emplace_back([&] {
            for (std::uint32_t n = 0; n < 20; ++n)
                semaphore.Post(n);  // 190 in all
        });
    while (passed < 380)
        std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(passed, 380);
    semaphore.Post(20);
    for (std::thread& thread : threads)
        thread.join();
}

}  // namespace
