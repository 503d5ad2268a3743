#include "orb3core/store/registrylog.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <ctime>
#include <exception>
#include <iterator>
#include <thread>
#include <utility>

#include "orb3core/store/configstore.h"
#include "slib/text.h"
#include "slib/thread.h"

namespace ggui {
namespace {

constexpr std::uint32_t errorsKept = 25;
constexpr int slots = 100;

// Local time to the hundredth of a second, cut off.
std::string LocalTime() {
    using namespace std::chrono;
    const auto now = duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
    const std::time_t seconds = static_cast<std::time_t>(now / 1000);
    std::tm local{};
    localtime_r(&seconds, &local);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02d %02d:%02d:%02d.%02d", local.tm_year + 1900,
                  local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                  static_cast<int>(now % 1000 / 10));
    return text.data();
}

std::string SlotKey(int slot) {
    std::array<char, 16> key{};
    std::snprintf(key.data(), key.size(), "/Log/%03d", slot);
    return key.data();
}

// Into the slots behind the one written last, as one step. False when they couldn't be written.
bool StoreLines(const std::string& root, const std::vector<std::string>& lines) {
    const orb3::ConfigStore store(root, orb3::ConfigStore::Scope::User);
    return store.UpdateLog([&](orb3::OpenStore& open) {
        // A damaged index in the store must not point outside the ring.
        const int last = slib::ParseInt(open.Read("/Log/Index", "0"));
        int slot = (last % slots + slots) % slots;
        const auto count = static_cast<int>(lines.size() % slots);
        open.Write("/Log/Index", std::to_string((slot + count) % slots));
        for (const std::string& line : lines) {
            slot = (slot + 1) % slots;
            open.Write(SlotKey(slot), line);
        }
    });
}

}  // namespace

// Writes what is waiting, at once, and what couldn't be written after pauses that grow.
class RegistryLog::Writer : public slib::Thread {
public:
    explicit Writer(RegistryLog& log) : Thread("Log", Priority::Normal), log(log) {}
    // Whoever destroys it holds no lock but `mutex`, and that one only after MayEnd was true.
    ~Writer() override {
        if (!RequestStop()) return;
        work.Post();
        AwaitEnd();
    }

    void Wake() { work.Post(); }
    bool hasEnded = false;  // of the log's mutex

private:
    void Run() override {
        std::uint32_t pause = 0;  // ms, after a failure
        while (!IsStopRequested()) {
            const bool isWoken = work.WaitFor(pause > 0 ? pause : idleMilliseconds);
            if (IsStopRequested() || (!isWoken && pause == 0 && log.MayEnd())) return;
            pause = log.WriteWaiting() ? 0 : std::clamp(2 * pause, 10U, 1000U);
        }
    }

    static constexpr std::uint32_t idleMilliseconds = 500;

    RegistryLog& log;
    slib::Semaphore work;
};

RegistryLog::RegistryLog(std::string root, const std::string& program)
    : owner(getpid()), root(std::move(root)), name(" " + program + ": "), errorCount(0) {}

RegistryLog::~RegistryLog() {
    Close();
    // In a forked child this thread isn't there, and its mutexes may be locked for good.
    if (getpid() != owner) static_cast<void>(writer.release());
}

void RegistryLog::Write(const std::string& text, bool isError) {
    const std::string time = LocalTime();
    std::string line = (isError ? "E" : "I") + time + name + text;
    if (getpid() != owner) return WriteAtOnce(std::move(line), time, isError);
    const slib::Lock lock(mutex);
    if (isClosed || (isError && !CountError(line, time))) return;
    if (waiting.size() + takenCount < mostWaiting)
        waiting.push_back(std::move(line));
    else
        ++leftOutCount;
    Wake();
}

// False when the line goes nowhere.
bool RegistryLog::CountError(std::string& line, const std::string& time) {
    if (errorCount > errorsKept) return false;
    if (errorCount == errorsKept) line = "E" + time + name + "[Suppressing further errors.]";
    ++errorCount;
    return true;
}

// In a forked child.
void RegistryLog::WriteAtOnce(std::string line, const std::string& time, bool isError) {
    if (!isError || CountError(line, time)) StoreLines(root, {std::move(line)});
}

// Without a thread the lines wait for the next one, for Flush or for Close.
void RegistryLog::Wake() {
    if (isEnding) return;
    try {
        if (!writer || writer->hasEnded) {
            writer = nullptr;
            auto fresh = std::make_unique<Writer>(*this);
            fresh->Start();
            writer = std::move(fresh);
        }
        writer->Wake();
    } catch (const std::exception&) {
    }
}

// True when nothing is left to be written. Several threads may be at it.
bool RegistryLog::WriteWaiting() {
    try {
        const slib::Lock lock(writing);
        for (TakeWaiting(); !taken.empty(); TakeWaiting()) {
            if (!StoreLines(root, taken)) return false;
            taken.clear();
        }
        return true;
    } catch (const std::exception&) {  // no memory: the lines stay
        return false;
    }
}

// What was taken is stored before more is.
void RegistryLog::TakeWaiting() {
    const slib::Lock lock(mutex);
    if (!taken.empty()) return;
    if (leftOutCount > 0) {
        std::string line = "I";
        line.append(LocalTime())
            .append(name)
            .append("[Lines left out here, since the log couldn't be written: ");
        waiting.push_back(line.append(std::to_string(leftOutCount)).append(".]"));
    }
    leftOutCount = 0;
    taken.swap(waiting);
    takenCount = taken.size();
}

// Asked by the thread, which then does nothing more.
bool RegistryLog::MayEnd() {
    const slib::Lock lock(mutex);
    if (!writer || !waiting.empty() || takenCount > 0 || leftOutCount > 0) return false;
    writer->hasEnded = true;
    return true;
}

bool RegistryLog::Flush(std::chrono::milliseconds atMost) {
    if (getpid() != owner) return true;
    const auto end = std::chrono::steady_clock::now() + atMost;
    while (!WriteWaiting()) {
        if (std::chrono::steady_clock::now() >= end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

void RegistryLog::Close() {
    if (getpid() != owner) return;
    std::unique_ptr<Writer> ending;
    {
        const slib::Lock lock(mutex);
        isEnding = true;
        ending = std::move(writer);
    }
    ending.reset();
    Flush();
    const slib::Lock writingLock(writing);
    const slib::Lock lock(mutex);
    isClosed = true;
    taken = std::vector<std::string>();
    waiting = std::vector<std::string>();
}

}  // namespace ggui
