#include "tools/page/server/browser.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace page {
namespace {

std::string Variable(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

std::string AddressOf(const std::filesystem::path& file) {
    constexpr const char* digits = "0123456789ABCDEF";
    std::string address = "file://";
    for (const char c : file.string()) {
        const auto byte = static_cast<unsigned char>(c);
        const bool isPlain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                             std::string_view("/-_.~").find(c) != std::string_view::npos;
        address += isPlain ? std::string(1, c) : std::string{'%', digits[byte >> 4], digits[byte & 15]};
    }
    return address;
}

// $BROWSER is a list with colons; %s in a command stands for the address, which else comes last.
std::vector<std::string> CommandFor(const std::string& address) {
    const std::string browsers = Variable("BROWSER");
    std::istringstream words(browsers.empty() ? "xdg-open" : browsers.substr(0, browsers.find(':')));
    std::vector<std::string> command;
    bool isNamed = false;
    for (std::string word; words >> word;) {
        if (const std::size_t place = word.find("%s"); place != std::string::npos) {
            word.replace(place, 2, address);
            isNamed = true;
        }
        command.push_back(word);
    }
    if (!isNamed) command.push_back(address);
    return command;
}

// In a session of its own, so that the terminal's Ctrl-C ends the server and not the browser. What the server
// holds back or ignores is nothing to it.
pid_t Start(std::vector<std::string> command) {
    std::vector<char*> words;
    words.reserve(command.size() + 1);
    for (std::string& word : command)
        words.push_back(word.data());
    words.push_back(nullptr);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        posix_spawn_file_actions_addopen(&files, descriptor, "/dev/null", O_RDWR, 0);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none, pipe;
    sigemptyset(&none);
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &pipe);
    posix_spawnattr_setflags(&attributes,
                             POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    pid_t process = 0;
    const int code = posix_spawnp(&process, words[0], &files, &attributes, words.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&files);
    return code == 0 ? process : 0;
}

}  // namespace

pid_t OpenInBrowser(const std::filesystem::path& file) {
    if (Variable("DISPLAY").empty() && Variable("WAYLAND_DISPLAY").empty()) return 0;
    return Start(CommandFor(AddressOf(file)));
}

}  // namespace page
