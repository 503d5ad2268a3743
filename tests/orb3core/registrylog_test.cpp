#include "orb3core/registrylog.h"

#include <gtest/gtest.h>
#include <regex.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <map>
#include <string>
#include <vector>

#include "orb3core/configstore.h"
#include "process.h"
#include "temporaryfolder.h"

namespace {

namespace fs = std::filesystem;

std::string SlotKey(int slot) {
    char key[16];
    std::snprintf(key, sizeof key, "/Log/%03d", slot);
    return key;
}

class RegistryLog : public testing::Test {
protected:
    std::string Read(const std::string& key) const { return store.Read(key, "none"); }
    std::string Line(int slot) const { return Read(SlotKey(slot)); }

    const testing_support::TemporaryStore folder;
    const orb3::ConfigStore store{orb3::storeRoot, orb3::ConfigStore::Scope::User};
    ggui::RegistryLog log{orb3::storeRoot, "Tessarune"};
};

// The groups of the match of `text`, whole, with tag, time and what `pattern` says; empty when it doesn't
// match.
std::vector<std::string> Match(const std::string& text, const std::string& tag, const std::string& pattern) {
    const std::string time = "[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{2}";
    regex_t form;
    if (regcomp(&form, ("^" + tag + time + " " + pattern + "$").c_str(), REG_EXTENDED) != 0) return {};
    std::vector<regmatch_t> found(form.re_nsub + 1);
    const bool matches = regexec(&form, text.c_str(), found.size(), found.data(), 0) == 0;
    regfree(&form);
    std::vector<std::string> groups;
    for (const regmatch_t& group : found)
        if (matches)
            groups.push_back(text.substr(static_cast<std::size_t>(group.rm_so),
                                         static_cast<std::size_t>(group.rm_eo - group.rm_so)));
    return groups;
}

bool Matches(const std::string& text, const std::string& tag, const std::string& pattern) {
    return !Match(text, tag, pattern).empty();
}

TEST_F(RegistryLog, FirstLine_LandsInSlotOneInTheFormOfALine) {
    log.Write("Rendering started.", false);
    EXPECT_EQ(Read("/Log/Index"), "1");
    EXPECT_EQ(Line(0), "none");
    EXPECT_TRUE(Matches(Line(1), "I", "Tessarune: Rendering started\\."));
}

TEST_F(RegistryLog, Time_IsLocal) {
    setenv("TZ", "TST-05:30", 1);
    tzset();
    const time_t before = time(nullptr);
    log.Write("x", true);
    const time_t after = time(nullptr);
    tm local{};
    strptime(Line(1).c_str(), "E%Y-%m-%d %H:%M:%S", &local);
    unsetenv("TZ");
    tzset();
    const time_t stamped = timegm(&local) - (5 * 3600 + 1800);
    EXPECT_LE(before, stamped);
    EXPECT_LE(stamped, after);
}

struct IndexCase {
    const char* stored;
    const char* next;
};

class RegistryLogIndex : public RegistryLog, public testing::WithParamInterface<IndexCase> {};

TEST_P(RegistryLogIndex, NextLine_StandsInTheSlotBehind) {
    store.Write("/Log/Index", GetParam().stored);
    log.Write("x", false);
    EXPECT_EQ(Read("/Log/Index"), GetParam().next);
    EXPECT_NE(Line(std::stoi(GetParam().next)), "none");
}

INSTANTIATE_TEST_SUITE_P(Indices, RegistryLogIndex,
                         testing::Values(IndexCase{"0", "1"}, IndexCase{"98", "99"}, IndexCase{"99", "0"},
                                         IndexCase{"wrong", "1"}, IndexCase{"", "1"}, IndexCase{" 7x", "8"},
                                         IndexCase{"250", "51"}, IndexCase{"-1", "0"}, IndexCase{"-5", "96"},
                                         IndexCase{"2147483647", "48"}, IndexCase{"99999999999", "48"},
                                         IndexCase{"-99999999999", "53"}));

TEST_F(RegistryLog, Errors_StopWithAMarkerAfterTheTwentyFifthAndOthersGoOn) {
    for (int i = 1; i <= 30; ++i) {
        log.Write("error " + std::to_string(i), true);
        if (i == 10) log.Write("between", false);
    }
    EXPECT_EQ(Read("/Log/Index"), "27");
    EXPECT_TRUE(Matches(Line(26), "E", "Tessarune: error [0-9]+"));
    EXPECT_TRUE(Line(26).ends_with("error 25"));
    EXPECT_TRUE(Matches(Line(27), "E", "Tessarune: \\[Suppressing further errors\\.\\]"));
    EXPECT_EQ(Line(28), "none");
    log.Write("after", false);
    EXPECT_TRUE(Line(28).starts_with("I"));
    log.Write("again", true);
    EXPECT_EQ(Read("/Log/Index"), "28");
}

TEST_F(RegistryLog, LineWithAnyText_ReadsBack) {
    log.Write("two\nlines \"q\" \\ \xC3\xA9 ", false);
    EXPECT_TRUE(Line(1).ends_with(" Tessarune: two\nlines \"q\" \\ \xC3\xA9 "));
}

pid_t StartWriter(std::vector<std::string> arguments) {
    const fs::path program = fs::read_symlink("/proc/self/exe").parent_path() / "storewriter";
    arguments.insert(arguments.begin(), program.string());
    std::vector<char*> texts;
    for (std::string& argument : arguments)
        texts.push_back(argument.data());
    texts.push_back(nullptr);
    const pid_t child = fork();
    if (child != 0) return child;
    execv(program.c_str(), texts.data());
    _exit(98);
}

// The children that still run go out of the list; those that ended must have ended well.
void Reap(std::vector<pid_t>& children) {
    std::erase_if(children, [](pid_t child) {
        int status = 0;
        if (waitpid(child, &status, WNOHANG) == 0) return false;
        EXPECT_EQ(status, 0);
        return true;
    });
}

TEST_F(RegistryLog, TwoProcessesAtOnce_LoseNoLineWhileDocumentsStayWhole) {
    constexpr int lines = 1000;
    orb3::WriteSpeakerConfiguration(std::string(100, 'a'));
    std::vector<pid_t> children{StartWriter({"log", "One", std::to_string(lines)}),
                                StartWriter({"log", "Two", std::to_string(lines)}),
                                StartWriter({"document", "300"})};
    int seenA = 0;
    int seenB = 0;
    for (; !children.empty(); Reap(children)) {
        const std::string document = orb3::ReadSpeakerConfiguration();
        if (document == std::string(100, 'a'))
            ++seenA;
        else if (document == std::string(5000, 'b'))
            ++seenB;
        else
            ADD_FAILURE() << document.size();
    }
    EXPECT_GT(seenA, 0);
    EXPECT_GT(seenB, 0);

    EXPECT_EQ(Read("/Log/Index"), "0");
    std::map<std::string, std::vector<int>> numbers;
    for (int i = 1; i <= 100; ++i) {
        const std::vector<std::string> groups = Match(Line(i % 100), "I", "(One|Two): ([0-9]+)");
        ASSERT_EQ(groups.size(), 3U) << Line(i % 100);
        numbers[groups[1]].push_back(std::stoi(groups[2]));
    }
    for (const auto& [writer, own] : numbers) {
        EXPECT_EQ(own.back(), lines - 1) << writer;
        for (std::size_t i = 1; i < own.size(); ++i)
            EXPECT_EQ(own[i], own[i - 1] + 1) << writer;
    }
}

}  // namespace
