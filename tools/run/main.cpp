// Starts a game with this library in place of the OpenAL library that it would load, and says afterwards
// whether the game used it, with the lines that it left in the log.
//
// Ends with the exit statuses that its help lists.

#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

extern "C" {  // which this header of the C library leaves to us
#include <sys/pidfd.h>
}

#include "slib/exception.h"
#include "tools/run/recorder.h"
#include "tools/support/installedtree.h"
#include "tools/support/logring.h"
#include "tools/support/program.h"

namespace {

using std::filesystem::path;

constexpr int notStarted = 127;
constexpr const char* footer = R"(Everything behind PROGRAM is passed to the game unchanged.

Examples:
  tessarune-run ./game
  tessarune-run supertuxkart --fullscreen
  tessarune-run ./bin/tessarune-info
  tessarune-run --record bug.calls ./game

Exit status: 0 to 255 as the game ends; 128 and the number of the signal that ended the game; 127 when it couldn't be started; 2 for a command line that is wrong.)";

struct Options {
    std::string recording;             // a file; empty for none
    std::uint64_t recordingLimit = 0;  // MiB; 0 for the usual one
};

// What was in the loader's path before comes after ours. The loader passes over libraries of the other width.
void PutFirst(const std::vector<path>& folders) {
    const char* const others = std::getenv("LD_LIBRARY_PATH");
    std::string list = folders.front().string();
    for (std::size_t i = 1; i < folders.size(); ++i)
        list.append(":").append(folders[i].string());
    if (others != nullptr && *others != '\0') list += std::string(":") + others;
    setenv("LD_LIBRARY_PATH", list.c_str(), 1);
}

// What the terminal sends goes to the game as well, which decides what becomes of it; this program stays to
// tell the end. What is sent to this program alone is passed on.
pid_t game = 0;  // read by the handler
constexpr std::array<int, 2> ofTheTerminal{SIGINT, SIGQUIT};
constexpr std::array<int, 2> passedOn{SIGTERM, SIGHUP};

void PassOn(int signal) {
    if (game > 0) kill(game, signal);
}

// Takes a signal over, unless the starter of this program has it ignored. True when it did.
bool Take(int signal, void (*handler)(int)) {
    struct sigaction old {};
    sigaction(signal, nullptr, &old);
    if (old.sa_handler == SIG_IGN) return false;
    struct sigaction fresh {};
    fresh.sa_handler = handler;
    fresh.sa_flags = SA_RESTART;
    sigaction(signal, &fresh, nullptr);
    return true;
}

sigset_t TakeSignals() {
    sigset_t taken;
    sigemptyset(&taken);
    for (const int signal : ofTheTerminal)
        if (Take(signal, SIG_IGN)) sigaddset(&taken, signal);
    for (const int signal : passedOn)
        Take(signal, PassOn);
    return taken;
}

void Start(char** arguments) {
    const sigset_t taken = TakeSignals();
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    posix_spawnattr_setsigdefault(&attributes, &taken);
    const int code = posix_spawnp(&game, arguments[0], nullptr, &attributes, arguments, environ);
    posix_spawnattr_destroy(&attributes);
    if (code == 0) return;
    throw slib::BadParameterException(std::string("'") + arguments[0] +
                                      "' can't be started: " + std::strerror(code) +
                                      ". Give its full path, or the name of a program that PATH finds.");
}

bool IsMappedIn(pid_t process, const std::vector<std::string>& libraries) {
    std::ifstream maps("/proc/" + std::to_string(process) + "/maps");
    for (std::string line; std::getline(maps, line);)
        for (const std::string& library : libraries)
            if (line.ends_with(library)) return true;
    return false;
}

std::vector<pid_t> ChildrenOf(pid_t process) {
    const std::string number = std::to_string(process);
    std::ifstream list("/proc/" + number + "/task/" + number + "/children");
    std::vector<pid_t> children;
    for (pid_t child = 0; list >> child;)
        children.push_back(child);
    return children;
}

// A script may start the game for us.
bool IsMappedBelow(pid_t process, const std::vector<std::string>& libraries) {
    if (IsMappedIn(process, libraries)) return true;
    const std::vector<pid_t> children = ChildrenOf(process);
    return std::any_of(children.begin(), children.end(),
                       [&](pid_t child) { return IsMappedBelow(child, libraries); });
}

struct End {
    int status = 0;          // as waitpid returns it
    bool wasLoaded = false;  // the library was seen in the game
};

// Looks often at first, for games that end at once.
End WatchGame(const std::vector<std::string>& libraries) {
    using std::chrono::steady_clock;
    const auto start = steady_clock::now();
    End end;
    pollfd descriptor{pidfd_open(game, 0), POLLIN, 0};
    while (descriptor.fd >= 0 && !end.wasLoaded) {
        const int patience = steady_clock::now() - start < std::chrono::seconds(2) ? 10 : 500;  // ms
        if (poll(&descriptor, 1, patience) > 0) break;
        end.wasLoaded = IsMappedBelow(game, libraries);
    }
    if (descriptor.fd >= 0) close(descriptor.fd);
    while (waitpid(game, &end.status, 0) < 0 && errno == EINTR) {
    }
    game = 0;
    return end;
}

bool WasUsed(const std::vector<std::string>& lines) {
    return std::any_of(lines.begin(), lines.end(), [](const std::string& line) {
        return line.find(" Tessarune: Starting Tessarune ") != std::string::npos;
    });
}

void Report(const std::string& name, bool wasLoaded, const std::vector<std::string>& lines,
            const path& dropIn) {
    std::cerr << "\ntessarune-run: ";
    if (WasUsed(lines))
        std::cerr << "'" << name << "' used Tessarune.\n";
    else if (wasLoaded)
        std::cerr << "'" << name << "' loaded Tessarune, but made no context with it.\n";
    else
        std::cerr << "'" << name << "' didn't use Tessarune. Either it plays no sound through OpenAL, or it "
                  << "brings a library of its own: look for a libopenal.so.1 in its folders, rename that "
                  << "file, and put a link to " << dropIn / "libopenal.so.1"
                  << " in its place.\n";
    if (!lines.empty()) std::cerr << "What was logged meanwhile:\n";
    for (const std::string& line : lines)
        std::cerr << "  " << line << "\n";
}

int ExitStatus(int status, const std::string& name) {
    if (!WIFSIGNALED(status)) return WEXITSTATUS(status);
    std::cerr << "tessarune-run: '" << name << "' was ended by the signal '" << strsignal(WTERMSIG(status))
              << "'.\n";
    return 128 + WTERMSIG(status);
}

void Record(const Options& options, std::vector<path>& folders) {
    const std::vector<path> recorders = tool::RecorderFolders(folders);
    folders.insert(folders.begin(), recorders.begin(), recorders.end());
    for (const auto& [name, value] : tool::PrepareRecording(options.recording, options.recordingLimit))
        setenv(name.c_str(), value.c_str(), 1);
}

int Run(char** arguments, const Options& options) {
    const std::vector<path> dropIns = tool::DropInFolders();
    std::vector<path> folders = dropIns;
    if (!options.recording.empty()) Record(options, folders);
    PutFirst(folders);
    std::vector<std::string> libraries;
    libraries.reserve(dropIns.size());
    for (const path& folder : dropIns)
        libraries.push_back(std::filesystem::canonical(folder / "libopenal.so.1").string());
    const tool::LogRing before = tool::ReadLogRing();
    Start(arguments);
    const End end = WatchGame(libraries);
    bool isSomeLost = false;
    const std::vector<std::string> lines = tool::LinesSince(before, tool::ReadLogRing(), isSomeLost);
    Report(arguments[0], end.wasLoaded, lines, dropIns.front());
    if (!options.recording.empty())
        for (const std::string& line : tool::TellOfRecording(options.recording))
            std::cerr << "tessarune-run: " << line << "\n";
    if (isSomeLost) std::cerr << "Earlier lines are no longer in the log.\n";
    return ExitStatus(end.status, arguments[0]);
}

int RunOrExplain(char** arguments, const Options& options, const std::string& program) {
    try {
        return Run(arguments, options);
    } catch (const std::exception& failure) {
        std::cerr << program << ": " << failure.what() << "\n";
        return notStarted;
    }
}

// The words up to the game's name; what follows is the game's.
int CountOwn(const tool::Program& program, int count, char** arguments) {
    int own = 1;
    for (; own < count && arguments[own][0] == '-'; ++own) {
        const CLI::Option* const option = program.get_option_no_throw(arguments[own]);
        if (option != nullptr && option->get_expected_min() > 0) ++own;
    }
    return std::min(own + 1, count);
}

}  // namespace

int main(int count, char** arguments) {
    tool::Program program("tessarune-run",
                          "Starts a game with Tessarune in place of the OpenAL library that it would load. "
                          "Says afterwards whether the game used it, and prints what was logged meanwhile.");
    program.footer(footer);
    std::string game;
    std::vector<std::string> passed;  // always empty: for the help
    program.OfferFor(
        program.add_option("PROGRAM", game, "The game: its path, or a name that PATH finds")->required(),
        {{}, {}, true});
    program.add_option("ARGUMENTS", passed, "What the game takes");
    Options options;
    program.add_option("--record", options.recording,
                       "Record all calls of the game into this file, which tessarune-replay plays");
    program.add_option("--record-limit", options.recordingLimit,
                       "End the recording at so many MiB; 1024 when this isn't given");
    const int own = CountOwn(program, count, arguments);
    return program.Run(own, arguments,
                       [&] { return RunOrExplain(arguments + own - 1, options, program.get_name()); });
}
