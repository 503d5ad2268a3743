#include "tools/support/progress.h"

#include <atomic>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "tools/support/terminal.h"

namespace tool {
namespace {

constexpr std::string_view erasure = "\r\033[K";

slib::Mutex shownMutex;
int shownOn SLIB_GUARDED_BY(shownMutex) = -1;  // the descriptor with a line on it

std::atomic<bool> isAnyAlive{false};

void Put(int descriptor, std::string_view text) {
    // A terminal that takes nothing any more shows nothing.
    if (write(descriptor, text.data(), text.size()) < 0) return;
}

bool MayShow(int descriptor) {
    const char* const kind = std::getenv("TERM");
    return TerminalWidth(descriptor) > 0 && kind != nullptr && std::string_view(kind) != "dumb";
}

// So that it never takes a second line, which wouldn't be erased.
std::string Cut(const std::string& text, std::size_t width) {
    std::size_t end = 0;
    for (std::size_t characters = 0; end < text.size(); ++end)
        if ((text[end] & 0xC0) != 0x80 && ++characters >= width) break;
    return text.substr(0, end);
}

}  // namespace

Progress::Progress(std::string work, std::chrono::milliseconds patience, int descriptor)
    : Thread("Progress", Priority::Normal),
      work(std::move(work)),
      patience(patience),
      descriptor(descriptor) {
    if (!isAnyAlive.exchange(true)) {
        isFirst = true;
        if (MayShow(descriptor)) Start();
    }
}

Progress::~Progress() {
    if (isFirst) isAnyAlive = false;
    if (!RequestStop()) return;
    ending.Post();
    AwaitEnd();
    Hide();
}

void Progress::Step(std::size_t number, std::size_t all, const std::string& name) {
    const slib::Lock lock(mutex);
    step = ", " + std::to_string(number) + " of " + std::to_string(all) + ": " + name;
}

void Progress::Hide() {
    const slib::Lock lock(shownMutex);
    if (shownOn >= 0) Put(shownOn, erasure);
    shownOn = -1;
}

void Progress::Run() {
    constexpr std::uint32_t pause = 250;  // ms
    for (auto wait = static_cast<std::uint32_t>(patience.count()); !ending.WaitFor(wait); wait = pause)
        Show();
}

void Progress::Show() {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - begin).count();
    std::string line = work;
    {
        const slib::Lock lock(mutex);
        line += step;
    }
    line += " ... " + std::to_string(seconds) + " s";
    const slib::Lock lock(shownMutex);
    Put(descriptor, std::string(erasure) + Cut(line, TerminalWidth(descriptor)));
    shownOn = descriptor;
}

}  // namespace tool
