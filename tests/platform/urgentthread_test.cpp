// Urgent threads of an ordinary user, on a bus of the test's own with a stand-in for the service, which
// raises real threads. What happens to them is read from the kernel.

#include "platform/urgentthread.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <time.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <fstream>
#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/process.h"
#include "tests/support/program.h"
#include "tests/support/temporaryfolder.h"

namespace {

using namespace std::chrono_literals;
using Strings = std::vector<std::string>;
using platform::UrgentThread;

constexpr int realTime = SCHED_RR | SCHED_RESET_ON_FORK;
constexpr rlim_t serviceLimit = 200'000;  // µs
const char* const line = "Failed to set thread priority.\n";

bool Await(const std::function<bool()>& isReached) {
    for (int i = 0; i < 10'000; ++i, std::this_thread::sleep_for(1ms))
        if (isReached()) return true;
    return false;
}

double ComputedHere() {  // s
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

void Compute(double seconds) {
    for (const double end = ComputedHere() + seconds; ComputedHere() < end;) {
    }
}

bool IsRealTimeHere() {
    return sched_getscheduler(0) == realTime;
}

// A named thread that is urgent from its start on and then runs `body`.
class Performer {
public:
    Performer(const char* name, int level, std::function<void(UrgentThread&)> body)
        : urgency(level), thread([this, name, body = std::move(body)] {
              pthread_setname_np(pthread_self(), name);
              urgency.SetUrgent(true);
              id = gettid();
              body(urgency);
          }) {}
    Performer(const char* name, int level)
        : Performer(name, level, [this](UrgentThread&) {
              while (!isOver)
                  std::this_thread::sleep_for(1ms);
          }) {}
    ~Performer() {
        isOver = true;
        thread.join();
    }

    int Policy() const { return id == 0 ? -1 : sched_getscheduler(id); }
    int Level() const {
        sched_param parameters{};
        sched_getparam(id, &parameters);
        return parameters.sched_priority;
    }
    int Nice() const { return getpriority(PRIO_PROCESS, static_cast<id_t>(id.load())); }

    UrgentThread urgency;

private:
    std::atomic<pid_t> id{0};
    std::atomic<bool> isOver{false};
    std::thread thread;
};

bool MayRaiseThreads() {
    return testing_support::RunInChild([] {
               const sched_param parameters{.sched_priority = 5};
               return sched_setscheduler(0, SCHED_RR, &parameters);
           }) == 0;
}

// A bus, and the stand-in on it, that this process and its children take for the system's.
class Bus {
public:
    explicit Bus(const std::string& grants) {
        std::filesystem::permissions(folder.path, std::filesystem::perms(0755));
        const std::string address = "unix:path=" + (folder.path / "bus").string();
        std::ofstream(folder.path / "bus.conf")
            << "<busconfig><type>system</type><listen>" << address << "</listen><auth>EXTERNAL</auth>"
            << "<policy context='default'><allow user='*'/><allow own='*'/><allow send_destination='*'/>"
            << "<allow receive_sender='*'/></policy></busconfig>";
        setenv("DBUS_SYSTEM_BUS_ADDRESS", address.c_str(), 1);
        setenv("REQUESTS", Requests().c_str(), 1);
        daemon.emplace("exec dbus-daemon --nofork --nopidfile --config-file=" + folder.path.string() +
                       "/bus.conf 2> /dev/null");
        Await([&] { return access((folder.path / "bus").c_str(), F_OK) == 0; });
        service.emplace(std::string("exec " TESSARUNE_REALTIMEKIT " ") + grants + " > " + Requests());
        isUp = Await([&] { return testing_support::ReadFile(Requests()).starts_with("ready\n"); });
    }

    bool isUp = false;

private:
    std::string Requests() const { return folder.path / "requests"; }

    testing_support::TemporaryFolder folder;
    std::optional<testing_support::Program> daemon, service;
};

// "realtime Renderer 3", in the order in which they came.
Strings Requests() {
    std::istringstream all(testing_support::ReadFile(getenv("REQUESTS")));
    Strings requests;
    std::string kind, thread, level;
    all >> kind;
    while (all >> kind >> thread >> level) {
        std::string name = testing_support::ReadFile("/proc/self/task/" + thread + "/comm");
        name = name.substr(name.find(':') + 1);
        requests.push_back(kind + " " + name.substr(0, name.find('\n')) + " " + level);
    }
    return requests;
}

class OfAnOrdinaryUser : public testing::Test {
protected:
    // Runs `body` in a process that may raise nothing itself, with a service that grants so much.
    static void With(const char* grants, const std::function<void()>& body) {
        if (testing_support::IsAlone()) {
            DropRights();
            body();
            prctl(PR_SET_DUMPABLE, 1);  // the search for leaks at the end traces this process
            return;
        }
        if (!MayRaiseThreads()) GTEST_SKIP() << "The system allows no real-time threads here.";
        const Bus bus(grants);
        ASSERT_TRUE(bus.isUp);
        EXPECT_EQ(testing_support::RunThisTestAlone(), 0);
    }

    static void DropRights() {
        const rlimit none{0, 0};
        EXPECT_EQ(setrlimit(RLIMIT_RTPRIO, &none), 0);
        EXPECT_EQ(setrlimit(RLIMIT_NICE, &none), 0);
        EXPECT_TRUE(geteuid() != 0 || setresuid(65534, 65534, 65534) == 0);
    }
};

void ExpectTimeLimits(rlim_t soft, rlim_t hard) {
    rlimit limit{};
    getrlimit(RLIMIT_RTTIME, &limit);
    EXPECT_EQ(limit.rlim_cur, soft);
    EXPECT_EQ(limit.rlim_max, hard);
}

TEST_F(OfAnOrdinaryUser, Threads_AreRaisedByTheServiceBelowTheKeeperThatComesFirst) {
    With("all", [] {
        testing::internal::CaptureStderr();
        {
            const Performer renderer("Renderer", 3), sound("Sound", 4);
            EXPECT_TRUE(Await([&] { return renderer.Policy() == realTime && sound.Policy() == realTime; }));
            EXPECT_EQ(renderer.Level(), 3);
            EXPECT_EQ(sound.Level(), 4);
            ExpectTimeLimits(serviceLimit, serviceLimit);
            Strings requests = Requests();
            ASSERT_EQ(requests.size(), 3U);
            EXPECT_EQ(requests[0], "realtime Urgency 5");
            std::sort(requests.begin(), requests.end());
            EXPECT_EQ(requests[0], "realtime Renderer 3");
            EXPECT_EQ(requests[1], "realtime Sound 4");
        }
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    });
}

TEST_F(OfAnOrdinaryUser, ThreadThatIsUrgentNoMore_IsAnOrdinaryOne) {
    With("all", [] {
        bool isOrdinary = false;
        {
            const Performer renderer("Renderer", 3, [&](UrgentThread& urgency) {
                EXPECT_TRUE(Await(IsRealTimeHere));
                urgency.SetUrgent(false);
                isOrdinary = !IsRealTimeHere();
            });
        }
        EXPECT_TRUE(isOrdinary);
    });
}

TEST_F(OfAnOrdinaryUser, RefusedThreads_GetANiceLevelAndTheServiceIsAskedOnce) {
    With("nice", [] {
        testing::internal::CaptureStderr();
        {
            const Performer renderer("Renderer", 3), sound("Sound", 4);
            EXPECT_TRUE(Await([&] { return renderer.urgency.IsRefused() && sound.urgency.IsRefused(); }));
            for (const Performer* performer : {&renderer, &sound}) {
                EXPECT_EQ(performer->Policy() & ~SCHED_RESET_ON_FORK, SCHED_OTHER);
                EXPECT_EQ(performer->Nice(), -15);
            }
            Strings requests = Requests();
            std::sort(requests.begin(), requests.end());
            EXPECT_EQ(requests, (Strings{"nice Renderer -15", "nice Sound -15", "realtime Urgency 5"}));
        }
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    });
}

TEST_F(OfAnOrdinaryUser, ThreadsThatGetNothing_CostOneLine) {
    With("nothing", [] {
        testing::internal::CaptureStderr();
        {
            const Performer renderer("Renderer", 3), sound("Sound", 4);
            EXPECT_TRUE(Await([&] { return renderer.urgency.IsRefused() && sound.urgency.IsRefused(); }));
            EXPECT_EQ(renderer.Policy() & ~SCHED_RESET_ON_FORK, SCHED_OTHER);
            EXPECT_EQ(renderer.Nice(), 0);
        }
        EXPECT_EQ(testing::internal::GetCapturedStderr(), line);
    });
}

TEST_F(OfAnOrdinaryUser, ServiceThatNeverAnswers_IsGivenUpAndNothingWaitsForIt) {
    With("silence", [] {
        const auto start = std::chrono::steady_clock::now();
        {
            const Performer early("Early", 3);
            EXPECT_TRUE(Await([&] { return early.Policy() >= 0; }));
            std::this_thread::sleep_for(300ms);
            EXPECT_FALSE(early.urgency.IsRefused());  // it is being asked for
        }
        EXPECT_LT(std::chrono::steady_clock::now() - start, 900ms);
        const Performer renderer("Renderer", 3);
        EXPECT_TRUE(Await([&] { return renderer.urgency.IsRefused(); }));
    });
}

// Of two threads, in the library and in a program that wants no line.
TEST_F(OfAnOrdinaryUser, WithoutABus_ThereIsALineInAGameAndNoneInAProgram) {
    if (!testing_support::IsAlone()) {
        setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1);
        unsetenv("TESSARUNE_QUIET");
        EXPECT_EQ(testing_support::RunThisTestAlone(), 0);
        setenv("TESSARUNE_QUIET", "1", 1);
        EXPECT_EQ(testing_support::RunThisTestAlone(), 0);
        return;
    }
    DropRights();
    testing::internal::CaptureStderr();
    const auto start = std::chrono::steady_clock::now();
    {
        const Performer renderer("Renderer", 3), sound("Sound", 4);
        EXPECT_TRUE(Await([&] { return renderer.urgency.IsRefused() && sound.urgency.IsRefused(); }));
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, 1s);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), getenv("TESSARUNE_QUIET") == nullptr ? line : "");
    prctl(PR_SET_DUMPABLE, 1);
}

class UnderALimit : public OfAnOrdinaryUser, public testing::WithParamInterface<rlim_t> {};

// µs. The kernel ends the process at the limit that is in force.
TEST_P(UnderALimit, ThreadThatSpins_IsSteppedDownInTimeAndAsksAgainAfterFiveSeconds) {
    With("all", [] {
        rlimit own{GetParam(), RLIM_INFINITY};
        EXPECT_EQ(setrlimit(RLIMIT_RTTIME, &own), 0);
        const rlim_t limit = std::min(GetParam(), serviceLimit);
        double spun = 0;
        {
            const Performer renderer("Renderer", 3, [&](UrgentThread& urgency) {
                ASSERT_TRUE(Await(IsRealTimeHere));
                ExpectTimeLimits(limit, serviceLimit);
                const double start = ComputedHere();
                while (IsRealTimeHere()) {
                }
                spun = ComputedHere() - start;
                urgency.SetUrgent(true);
                Compute(0.4);
                EXPECT_FALSE(IsRealTimeHere());
                std::this_thread::sleep_for(5s);
                urgency.SetUrgent(true);
                EXPECT_TRUE(Await(IsRealTimeHere));
            });
        }
        RecordProperty("SpunMilliseconds", std::to_string(spun * 1e3));
        EXPECT_LT(spun, 1e-6 * static_cast<double>(limit));
        EXPECT_GE(spun, 0.3e-6 * static_cast<double>(limit));
        ExpectTimeLimits(limit, serviceLimit);
    });
}

INSTANTIATE_TEST_SUITE_P(Limits, UnderALimit, testing::Values(RLIM_INFINITY, 120'000));

TEST_F(OfAnOrdinaryUser, LimitThatIsTooShortToWatchFor_MakesNoRealTimeThreads) {
    With("all", [] {
        const rlimit own{50'000, RLIM_INFINITY};
        EXPECT_EQ(setrlimit(RLIMIT_RTTIME, &own), 0);
        const Performer renderer("Renderer", 3);
        EXPECT_TRUE(Await([&] { return renderer.urgency.IsRefused(); }));
        EXPECT_EQ(Requests(), Strings{"nice Renderer -15"});
        ExpectTimeLimits(50'000, RLIM_INFINITY);
    });
}

class OfRoot : public testing::Test {
protected:
    void SetUp() override {
        if (!MayRaiseThreads()) GTEST_SKIP() << "The system allows no real-time threads here.";
    }
};

TEST_F(OfRoot, ThreadThatSpins_IsSteppedDown) {
    double spun = 0;
    {
        const Performer renderer("Renderer", 3, [&](UrgentThread& urgency) {
            EXPECT_TRUE(IsRealTimeHere());
            while (IsRealTimeHere() && spun < 0.5)
                spun = ComputedHere();
            urgency.SetUrgent(true);
            EXPECT_FALSE(IsRealTimeHere());  // five seconds aren't over
        });
    }
    EXPECT_LT(spun, 0.2);
    ExpectTimeLimits(RLIM_INFINITY, RLIM_INFINITY);
}

TEST_F(OfRoot, ThreadThatWaitsAtTimes_StaysARealTimeOne) {
    int lost = 0;
    {
        const Performer renderer("Renderer", 3, [&](UrgentThread&) {
            for (int i = 0; i < 30; ++i) {
                Compute(0.03);
                lost += IsRealTimeHere() ? 0 : 1;
                std::this_thread::sleep_for(1ms);
            }
        });
    }
    EXPECT_EQ(lost, 0);
}

TEST(UrgentThreadInAForkedChild, EndsAtOnce) {
    std::optional<UrgentThread> urgency(3);
    EXPECT_EQ(testing_support::RunInChild([&] {
                  alarm(20);  // for the case that it waits
                  urgency.reset();
                  return 3;
              }),
              3);
}

}  // namespace
