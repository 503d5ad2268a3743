// Serves the page of the settings to a browser of this machine, and opens that.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <initializer_list>
#include <iostream>
#include <string>

#include "orb3core/store/configstore.h"
#include "platform/runtimefolder.h"
#include "tools/page/api/api.h"
#include "tools/page/frontend.h"
#include "tools/page/server/browser.h"
#include "tools/page/server/handover.h"
#include "tools/page/server/onlyserver.h"
#include "tools/page/server/server.h"
#include "tools/support/program.h"

namespace {

using std::chrono::milliseconds;
using std::filesystem::path;

constexpr milliseconds endTime{5000};
constexpr const char* footer =
    R"(The page is for this user on this machine: the server listens at 127.0.0.1 and ::1 only, and the browser gets a key by a
file that nobody else can read. It ends with Ctrl-C, or ten minutes after the page was last open. A second start opens the
page of the first again.

Examples:
  tessarune-page
  tessarune-page --print     without opening a browser

)";

struct Options {
    bool isOnlyPrinted = false;
    bool isRootAllowed = false;
    unsigned idleSeconds = 600;
};

// The signals that end the server or have it hand over the page again, held back from all its threads.
class HeldSignals {
public:
    HeldSignals() {
        sigemptyset(&held);
        for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGUSR1})
            if (!IsIgnored(number)) sigaddset(&held, number);
        pthread_sigmask(SIG_BLOCK, &held, nullptr);
    }

    // The next one, or below 0 when the time is over.
    int Await(milliseconds patience) const {
        const timespec time{static_cast<time_t>(patience.count() / 1000),
                            static_cast<long>(patience.count() % 1000 * 1'000'000)};
        return sigtimedwait(&held, nullptr, &time);
    }

private:
    static bool IsIgnored(int number) {
        struct sigaction action {};
        sigaction(number, nullptr, &action);
        return action.sa_handler == SIG_IGN;
    }

    sigset_t held{};
};

void Tell(const path& file, pid_t browser) {
    std::cout << (browser == 0
                      ? "Open this file in a browser of this machine; it leads to the page, and has the "
                        "key to it:\n  "
                      : "The browser opens the page by this file, which has the key to it:\n  ")
              << file.string() << std::endl;
}

pid_t Open(const path& file, const Options& options) {
    const pid_t browser = options.isOnlyPrinted ? 0 : page::OpenInBrowser(file);
    Tell(file, browser);
    return browser;
}

// The other server writes its file anew when it is asked to.
int OpenAgain(pid_t server, const path& file, const Options& options) {
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
    kill(server, SIGUSR1);
    for (int i = 0; i < 100 && !std::filesystem::exists(file, ignored); ++i)
        usleep(30'000);
    if (!std::filesystem::exists(file, ignored))
        throw slib::BadStateException("The page's server, process " + std::to_string(server) +
                                      ", doesn't answer. End it by 'kill " + std::to_string(server) +
                                      "', and start this program again.");
    std::cout << "The page is open already, by process " << server << ".\n";
    Open(file, options);
    return 0;
}

// Until a signal ends it, or the page hasn't been open for so long.
void Await(const HeldSignals& signals, const page::Server& server, page::Handover& handover, pid_t browser,
           std::chrono::seconds idle) {
    constexpr milliseconds longest{10'000};
    for (;;) {
        const auto left = std::chrono::ceil<milliseconds>(idle - server.Idle());
        if (left.count() <= 0) return;
        const int signal = signals.Await(std::min(left, longest));
        if (signal == SIGUSR1)
            handover.Write(page::AddressOf(server.port));
        else if (signal > 0)
            return;
        if (browser > 0 && waitpid(browser, nullptr, WNOHANG) != 0) browser = 0;
    }
}

int Serve(const Options& options) {
    if (geteuid() == 0 && !options.isRootAllowed)
        throw slib::BadStateException(
            "This is root, whose settings aren't yours, and whose browser is a danger. Start it as the user "
            "who "
            "plays, or with --as-root.");
    const path folder = platform::MakeRuntimeFolder(orb3::storeRoot);
    if (folder.empty())
        throw slib::BadStateException(
            "There is no folder that is closed to other users. Set XDG_RUNTIME_DIR to one of your own.");
    const HeldSignals signals;
    const page::OnlyServer only(folder);
    if (!only.IsFirst()) return OpenAgain(only.owner, page::Handover::FileIn(folder), options);

    const std::string token = page::MakeToken();
    page::Handover handover(folder, token);
    page::Server server({page::FrontEnd(), page::Routes(), tool::Version()}, token,
                        [&handover] { handover.Remove(); });
    handover.Write(page::AddressOf(server.port));
    std::cout << "The page is at " << page::AddressOf(server.port) << " until Ctrl-C ends this program.\n";
    const pid_t browser = Open(page::Handover::FileIn(folder), options);
    Await(signals, server, handover, browser, std::chrono::seconds(options.idleSeconds));
    handover.Remove();
    if (!server.EndJob(endTime)) _exit(tool::failed);  // such as one that waits for a sound server
    return 0;
}

}  // namespace

int main(int count, char** arguments) {
    tool::HideRefusedPriority();
    tool::Program program("tessarune-page", "Serves the page of Tessarune's settings to your browser.");
    program.SetFooter(std::string(footer) + tool::exitStatuses);
    program.files.push_back({std::string("$XDG_RUNTIME_DIR/") + orb3::storeRoot + "/page.html",
                             "Leads a browser to the page, until that is open. Without the variable in "
                             "/run/user or /tmp."});
    Options options;
    program.AddFlag("--print", options.isOnlyPrinted, "Print where the page is, and open no browser");
    program.AddFlag("--as-root", options.isRootAllowed, "Start even as root");
    program.AddOption("--idle", options.idleSeconds, "")->Hide();
    return program.Run(count, arguments, [&] { return Serve(options); });
}
