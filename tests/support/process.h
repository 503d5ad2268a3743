#pragma once

// What tests do with processes: a function in a forked child, this test in a process of its own, and a
// process that is refused every new thread.

#include <gtest/gtest.h>
#include <pthread.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

namespace testing_support {

/// Runs `body` in a forked child, whose exit code it returns, and gives that back, or 128 and the signal when
/// one ended it. What ends the child with an exception is code 99. `body` starts no thread: of a program with
/// threads only a part is there after the fork.
template <typename Body>
int RunInChild(const Body& body) {
    const pid_t child = fork();
    if (child == 0) try {
            _exit(body());
        } catch (...) {
            _exit(99);
        }
    int status = 0;
    if (waitpid(child, &status, 0) != child) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

/// True in the process that RunThisTestAlone started.
inline bool IsAlone() {
    return getenv("TEST_ALONE") != nullptr;
}

/// Runs this program anew in `folder`, called `name`, with the running test alone, which may do with that
/// process what it likes. The exit code.
inline int RunThisTestAlone(const char* name = "alone", const char* folder = ".") {
    const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
    const std::string filter = std::string("--gtest_filter=") + test.test_suite_name() + "." + test.name();
    return RunInChild([&] {
        setenv("TEST_ALONE", "1", 1);
        unsetenv("GTEST_OUTPUT");
        return chdir(folder) == 0 ? execl("/proc/self/exe", name, filter.c_str(), nullptr) : 98;
    });
}

/// While `refused` the system gives this process no new thread: none can have a guard of that size.
inline void RefuseThreads(bool refused) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, std::size_t{1} << 23);
    pthread_attr_setguardsize(&attributes, std::size_t{1} << (refused ? 50 : 12));
    pthread_setattr_default_np(&attributes);
    pthread_attr_destroy(&attributes);
}

}  // namespace testing_support
