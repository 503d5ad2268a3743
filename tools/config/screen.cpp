#include "tools/config/screen.h"

#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <string_view>

#include "slib/exception.h"

namespace tool {
namespace {

// The other screen, without a cursor and without lines that go on in the next one.
constexpr std::string_view beginning = "\033[?1049h\033[?25l\033[?7l\033[2J";
constexpr std::string_view ending = "\033[?7h\033[?25h\033[?1049l";

constexpr std::array heard{SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGWINCH, SIGTSTP};

sigset_t HeardSet() {
    sigset_t set;
    sigemptyset(&set);
    for (const int number : heard)
        sigaddset(&set, number);
    return set;
}

void Put(std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(STDOUT_FILENO, text.data(), text.size());
        if (written < 0 && errno != EINTR) return;  // the terminal is gone, which poll tells
        if (written > 0) text.remove_prefix(static_cast<std::size_t>(written));
    }
}

std::string Drawn(const ViewLine& line) {
    switch (line.kind) {
        case ViewLine::Kind::Plain:
            return line.text;
        case ViewLine::Kind::Title:
            return "\033[1m" + line.text + "\033[m";
        case ViewLine::Kind::Chosen:
            return "\033[7m" + line.text + "\033[m";
    }
    slib::ThrowUnreachable();
}

// As the signal would have done without us.
void DieOf(int number) {
    signal(number, SIG_DFL);
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, number);
    raise(number);
    sigprocmask(SIG_UNBLOCK, &set, nullptr);
}

}  // namespace

bool Screen::IsAvailable() {
    const char* const kind = std::getenv("TERM");
    return isatty(STDIN_FILENO) == 1 && isatty(STDOUT_FILENO) == 1 && kind != nullptr && *kind != '\0' &&
           std::string_view(kind) != "dumb";
}

Screen::Screen() {
    const sigset_t set = HeardSet();
    if (tcgetattr(STDIN_FILENO, &before) != 0)
        throw slib::BadStateException("The terminal doesn't say how it is set. Use --once.");
    signals = signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
    if (signals < 0) throw slib::BadStateException("The system has no descriptor left. Use --once.");
    sigprocmask(SIG_BLOCK, &set, nullptr);
    Enter();
}

Screen::~Screen() {
    Leave();
    close(signals);
    const sigset_t set = HeardSet();
    sigprocmask(SIG_UNBLOCK, &set, nullptr);
}

void Screen::Enter() {
    termios raw = before;
    raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    raw.c_cc[VMIN] = 0;
    raw.c_cc[VTIME] = 0;
    tcsetattr(STDIN_FILENO, TCSADRAIN, &raw);
    Put(beginning);
    shown.clear();
}

void Screen::Leave() {
    Put(ending);
    tcsetattr(STDIN_FILENO, TCSADRAIN, &before);
}

ViewSize Screen::Size() const {
    winsize size{};
    const bool isKnown = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 && size.ws_row > 0;
    return isKnown ? ViewSize{size.ws_col, size.ws_row} : ViewSize{};
}

void Screen::Show(const std::vector<ViewLine>& lines) {
    std::string text;
    for (std::size_t i = 0; i < lines.size(); ++i)
        if (i >= shown.size() || lines[i] != shown[i])
            text += "\033[" + std::to_string(i + 1) + ";1H" + Drawn(lines[i]) + "\033[K";
    if (lines.size() < shown.size()) text += "\033[" + std::to_string(lines.size() + 1) + ";1H\033[J";
    Put(text);
    shown = lines;
}

ScreenEvent Screen::Await(int milliseconds) {
    std::array<pollfd, 2> sources{{{STDIN_FILENO, POLLIN, 0}, {signals, POLLIN, 0}}};
    if (poll(sources.data(), sources.size(), milliseconds) <= 0) return ScreenEvent::None;
    if (sources[1].revents != 0) return TakeSignal();
    if ((sources[0].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0) return ScreenEvent::Quit;
    return TakeKeys();
}

ScreenEvent Screen::TakeSignal() {
    signalfd_siginfo info{};
    if (read(signals, &info, sizeof info) != static_cast<ssize_t>(sizeof info)) return ScreenEvent::None;
    const auto number = static_cast<int>(info.ssi_signo);
    if (number == SIGINT) return ScreenEvent::Quit;
    if (number == SIGWINCH) {
        Put("\033[2J");
        shown.clear();
        return ScreenEvent::Redraw;
    }
    Leave();
    if (number == SIGTSTP)
        raise(SIGSTOP);
    else
        DieOf(number);
    Enter();
    return ScreenEvent::Redraw;
}

// Of several keys at once the last.
ScreenEvent Screen::TakeKeys() const {
    std::array<char, 64> bytes{};
    const ssize_t count = read(STDIN_FILENO, bytes.data(), bytes.size());
    if (count <= 0) return count == 0 ? ScreenEvent::Quit : ScreenEvent::None;
    const std::string_view keys(bytes.data(), static_cast<std::size_t>(count));
    const auto has = [&](std::string_view key) { return keys.find(key) != std::string_view::npos; };
    if (has("q") || has("Q")) return ScreenEvent::Quit;
    if (has("\033[A") || has("\033OA") || has("k")) return ScreenEvent::Up;
    if (has("\033[B") || has("\033OB") || has("j")) return ScreenEvent::Down;
    return ScreenEvent::None;
}

}  // namespace tool
