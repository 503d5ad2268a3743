#include "orb3core/store/registrylog.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <thread>

#include "orb3core/store/configstore.h"
#include "platform/storefile.h"
#include "platform/storelocation.h"
#include "tests/support/process.h"
#include "tests/support/temporaryfolder.h"

namespace {

const std::string stamp = "0000-00-00 00:00:00.00 ";  // what comes behind the tag, with each digit as 0

class RegistryLog : public testing::Test {
protected:
    std::string Read(const std::string& key) const { return store.Read(key, "none"); }
    std::string Line(int slot) const { return Read("/Log/" + std::to_string(1000 + slot).substr(1)); }
    // The same with the digits of its time as 0.
    std::string Masked(int slot) const {
        std::string line = Line(slot);
        std::replace_if(line.begin(), line.begin() + std::min<std::ptrdiff_t>(std::ssize(line), 24), isdigit,
                        '0');
        return line;
    }

    const testing_support::TemporaryStore folder;
    const orb3::ConfigStore store{orb3::storeRoot, orb3::ConfigStore::Scope::User};
    ggui::RegistryLog log{orb3::storeRoot, "Tessarune"};
};

TEST_F(RegistryLog, FirstLine_LandsInSlotOneWithTheLocalTime) {
    setenv("TZ", "TST-05:30", 1);
    tzset();
    const time_t before = time(nullptr);
    log.Write("Rendering started.", false);
    log.Flush();
    const time_t after = time(nullptr);
    unsetenv("TZ");
    tzset();
    EXPECT_EQ(Read("/Log/Index"), "1");
    EXPECT_EQ(Line(0), "none");
    EXPECT_EQ(Masked(1), "I" + stamp + "Tessarune: Rendering started.");
    tm local{};
    strptime(Line(1).c_str(), "I%Y-%m-%d %H:%M:%S", &local);
    const time_t stamped = timegm(&local) - (5 * 3600 + 1800);
    EXPECT_TRUE(before <= stamped && stamped <= after);
}

TEST_F(RegistryLog, NextLine_StandsInTheSlotBehindTheIndexAroundTheRing) {
    const std::map<std::string, int> next{{"99", 0}, {"wrong", 1}, {"250", 51}, {"-5", 96}};
    for (const auto& [index, slot] : next) {
        store.Write("/Log/Index", index);
        log.Write(index, false);
        log.Flush();
        EXPECT_EQ(Read("/Log/Index"), std::to_string(slot));
        EXPECT_EQ(Masked(slot), "I" + stamp + "Tessarune: " + index);
    }
}

TEST_F(RegistryLog, Errors_StopWithAMarkerAfterTheTwentyFifthAndOthersGoOn) {
    for (int i = 1; i <= 30; ++i) {
        log.Write("error " + std::to_string(i), true);
        if (i == 10) log.Write("between", false);
    }
    log.Write("after", false);
    log.Write("again", true);
    log.Flush();
    EXPECT_EQ(Masked(11), "I" + stamp + "Tessarune: between");
    EXPECT_EQ(Masked(26), "E" + stamp + "Tessarune: error 25");
    EXPECT_EQ(Masked(27), "E" + stamp + "Tessarune: [Suppressing further errors.]");
    EXPECT_EQ(Masked(28), "I" + stamp + "Tessarune: after");
    EXPECT_EQ(Read("/Log/Index"), "28");
}

// Another process, which calls that many times. There are no threads that a fork would lose.
void StartWriter(int count, const std::function<void(int)>& write) {
    if (fork() != 0) return;
    for (int i = 0; i < count; ++i)
        write(i);
    _exit(0);
}

TEST_F(RegistryLog, TwoProcessesAtOnce_LoseNoLineWhileDocumentsStayWhole) {
    const std::string documents[] = {std::string(100, 'a'), std::string(5000, 'b')};
    orb3::WriteSpeakerConfiguration(documents[0]);
    for (const char* name : {"One", "Two"})
        StartWriter(1, [&](int) {
            ggui::RegistryLog own(orb3::storeRoot, name);
            for (int i = 0; i < 300; ++i) {
                own.Write(std::to_string(i), false);
                own.Flush(std::chrono::seconds(20));
            }
        });
    StartWriter(101, [&](int i) { orb3::WriteSpeakerConfiguration(documents[i % 2]); });
    std::map<std::string, int> seen;
    for (int running = 3; running > 0;) {
        ++seen[orb3::ReadSpeakerConfiguration()];
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        int status = 0;
        if (waitpid(-1, &status, WNOHANG) == 0) continue;
        EXPECT_EQ(status, 0);
        --running;
    }
    EXPECT_EQ(seen.size(), 2U);
    EXPECT_TRUE(seen.contains(documents[0]) && seen.contains(documents[1]));

    // Of 600 lines the ring holds the last 100, those of each writer without a gap up to its last.
    EXPECT_EQ(Read("/Log/Index"), "0");
    std::map<std::string, int> next{{"One", 300}, {"Two", 300}};
    for (int i = 100; i > 0; --i) {
        const std::string line = Line(i % 100);
        ASSERT_GT(line.size(), 29U);
        EXPECT_EQ(line.substr(27), ": " + std::to_string(--next[line.substr(24, 3)]));
    }
    EXPECT_EQ(next.size(), 2U);
    EXPECT_EQ(next["One"] + next["Two"], 500);
}

TEST_F(RegistryLog, LockOfAStoppedProcess_CostsNoCallerTimeAndLinesBeyondTheQueueAreCounted) {
    {
        const platform::StoreFileLock held(platform::UserLogPath(orb3::storeRoot));
        const auto start = std::chrono::steady_clock::now();
        for (int i = 1; i <= 1012; ++i)
            log.Write(std::to_string(i), false);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100));
        EXPECT_FALSE(log.Flush(std::chrono::milliseconds(100)));
        ggui::RegistryLog(orb3::storeRoot, "Ending").Write("lost at the end", false);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1500));
    }
    EXPECT_TRUE(log.Flush());
    log.Write("next", false);
    log.Flush();
    EXPECT_EQ(Masked(0), "I" + stamp + "Tessarune: 1000");
    EXPECT_EQ(Masked(1),
              "I" + stamp + "Tessarune: [Lines left out here, since the log couldn't be written: 12.]");
    EXPECT_EQ(Masked(2), "I" + stamp + "Tessarune: next");
}

TEST_F(RegistryLog, ThreadsRefused_KeepsTheLinesForTheNextOneOrTheEnd) {
    testing_support::RefuseThreads(true);
    ggui::RegistryLog(orb3::storeRoot, "Tessarune").Write("at the end", false);
    EXPECT_EQ(Masked(1), "I" + stamp + "Tessarune: at the end");
    log.Write("one", false);
    EXPECT_EQ(Read("/Log/Index"), "1");
    testing_support::RefuseThreads(false);
    log.Write("two", false);
    for (int i = 0; i < 500 && Read("/Log/Index") != "3"; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(Masked(2), "I" + stamp + "Tessarune: one");
    EXPECT_EQ(Masked(3), "I" + stamp + "Tessarune: two");
}

// At the fork the writer is at work, or waits for it.
TEST_F(RegistryLog, ForkedChild_WritesWithoutTheThreadAndEndsByItself) {
    for (int i = 1; i <= 30; ++i) {
        log.Write("parent", false);
        EXPECT_EQ(testing_support::RunInChild([&] {
                      alarm(20);
                      log.Write("child", false);
                      log.Flush();
                      log.Close();
                      return 0;
                  }),
                  0);
    }
    log.Flush();
    std::map<std::string, int> seen;
    for (int i = 1; i <= 60; ++i)
        ++seen[Line(i).substr(35)];
    EXPECT_EQ(seen, (std::map<std::string, int>{{"parent", 30}, {"child", 30}}));
}

}  // namespace
