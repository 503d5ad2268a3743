#include "tools/page/api/child.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <thread>

#include "platform/storelocation.h"
#include "slib/exception.h"
#include "tools/manage/report.h"
#include "tools/support/wronguse.h"

namespace page {
namespace {

constexpr std::chrono::milliseconds pause{20}, patience{2000};
constexpr std::size_t mostErrorText = 4096;

// What the child says on standard error.
class Pipe {
public:
    Pipe() {
        if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0)
            throw slib::OperatingSystemErrnoException("No pipe could be made.");
    }
    ~Pipe() {
        for (const int end : ends)
            close(end);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int WriteEnd() const { return ends[1]; }
    // Takes what there is. What is too much is dropped, so that the child never waits.
    void Drain() {
        std::array<char, 512> bytes{};
        for (ssize_t count = 0; (count = read(ends[0], bytes.data(), bytes.size())) > 0;)
            if (text.size() < mostErrorText) text.append(bytes.data(), static_cast<std::size_t>(count));
    }

    std::string text;

private:
    std::array<int, 2> ends{};
};

class Child {
public:
    Child(const std::filesystem::path& program, const std::vector<std::string>& words, int error) {
        std::vector<std::string> texts{program.string()};
        texts.insert(texts.end(), words.begin(), words.end());
        std::vector<char*> arguments;
        arguments.reserve(texts.size() + 1);
        for (std::string& text : texts)
            arguments.push_back(text.data());
        arguments.push_back(nullptr);
        posix_spawn_file_actions_t actions{};
        posix_spawnattr_t attributes{};
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_adddup2(&actions, error, STDERR_FILENO);
        sigset_t none;
        sigemptyset(&none);  // the server holds back those that end it
        posix_spawnattr_init(&attributes);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
        posix_spawnattr_setsigmask(&attributes, &none);
        const int failure =
            posix_spawn(&id, program.c_str(), &actions, &attributes, arguments.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
        if (failure == 0) return;
        errno = failure;
        throw slib::OperatingSystemErrnoException("'" + program.string() +
                                                  "' can't be started. Install the tree again.");
    }
    ~Child() {
        if (HasEnded()) return;
        kill(id, SIGTERM);
        for (auto waited = pause; waited < patience && !HasEnded(); waited += pause)
            std::this_thread::sleep_for(pause);
        if (HasEnded()) return;
        kill(id, SIGKILL);
        waitpid(id, nullptr, 0);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    bool HasEnded() {
        if (!hasEnded) hasEnded = waitpid(id, &status, WNOHANG) == id;
        return hasEnded;
    }
    // Of one that has ended.
    int Status() const { return WIFEXITED(status) ? WEXITSTATUS(status) : -1; }

private:
    pid_t id = 0;
    int status = 0;
    bool hasEnded = false;
};

// Without the program's name before it.
std::string Sentence(std::string text) {
    const std::string name = "tessarune-config: ";
    if (text.starts_with(name)) text.erase(0, name.size());
    while (text.ends_with('\n'))
        text.pop_back();
    return text.empty() ? "tessarune-config ended for an unknown reason." : text;
}

}  // namespace

void RunConfig(const std::vector<std::string>& words, const Report& report) {
    Pipe errors;
    Child child(platform::LoadedTree() / "bin" / "tessarune-config", words, errors.WriteEnd());
    while (!child.HasEnded()) {
        if (report.IsCancelled()) throw tool::Cancelled();
        std::this_thread::sleep_for(pause);
        errors.Drain();
    }
    errors.Drain();
    if (child.Status() == 0) return;
    if (child.Status() == 2) throw tool::WrongUse(Sentence(errors.text));
    throw slib::BadStateException(Sentence(errors.text));
}

}  // namespace page
