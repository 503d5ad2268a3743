#pragma once

// What a test needs beside itself: a server, a competitor for the processor.

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <utility>

namespace testing_support {

/// A program that runs beside the test, until the end of the scope, or of the test's process.
class Program {
public:
    /// A line of the shell.
    explicit Program(const std::string& line) : id(fork()) {
        if (id != 0) return;
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        execl("/bin/sh", "sh", "-c", line.c_str(), nullptr);
        _exit(127);
    }
    ~Program() { End(SIGTERM); }
    Program(Program&& other) noexcept : id(std::exchange(other.id, 0)) {}
    Program& operator=(Program&& other) noexcept {
        std::swap(id, other.id);
        return *this;
    }
    void End(int signal) {
        if (id <= 0) return;
        kill(id, signal);
        waitpid(std::exchange(id, 0), nullptr, 0);
    }

private:
    pid_t id;
};

}  // namespace testing_support
