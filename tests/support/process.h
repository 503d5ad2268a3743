#pragma once

// Child processes of a test: a function in a forked child, or the test program anew for one test alone.

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace testing_support {

/// The exit code of the child; 128 and the signal when one ended it.
inline int AwaitChild(pid_t child) {
    int status = 0;
    if (waitpid(child, &status, 0) != child) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

/// Runs `body` in a forked child, whose exit code it returns, and gives that back. What ends the child with
/// an exception is code 99. `body` starts no thread: of a program with threads only a part is there after the
/// fork.
template <typename Body>
int RunInChild(const Body& body) {
    const pid_t child = fork();
    if (child != 0) return AwaitChild(child);
    try {
        _exit(body());
    } catch (...) {
        _exit(99);
    }
}

/// True in the process that RunTestAlone started.
inline bool IsAlone() {
    return getenv("TEST_ALONE") != nullptr;
}

/// Runs this test program anew, with the one test named in `filter`, under the name `name`, after `prepare`
/// in the new process before the program starts. The child may do with its process what it likes. Its exit
/// code.
template <typename Prepare>
int RunTestAlone(const std::string& filter, const char* name, const Prepare& prepare) {
    const std::string option = "--gtest_filter=" + filter;
    const pid_t child = fork();
    if (child != 0) return AwaitChild(child);
    setenv("TEST_ALONE", "1", 1);
    unsetenv("GTEST_OUTPUT");
    prepare();
    execl("/proc/self/exe", name, option.c_str(), nullptr);
    _exit(98);
}

inline int RunTestAlone(const std::string& filter) {
    return RunTestAlone(filter, "alone", [] {});
}

/// The full name of the running test.
inline std::string ThisTest() {
    const testing::TestInfo& info = *testing::UnitTest::GetInstance()->current_test_info();
    return std::string(info.test_suite_name()) + "." + info.name();
}

}  // namespace testing_support
