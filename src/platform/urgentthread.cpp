#include "platform/urgentthread.h"

#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/clock.h"
#include "platform/realtimekit.h"
#include "platform/spinmeter.h"
#include "slib/mutex.h"
#include "slib/nodestroy.h"
#include "slib/priority.h"
#include "slib/thread.h"

namespace platform {
namespace {

constexpr int keeperLevel = 5;  // that of sound servers; it computes next to nothing
constexpr int urgentNice = -15;
constexpr int calmNice = -5;
constexpr std::int64_t millisecond = 1'000'000;     // ns
constexpr std::int64_t retryPause = 5'000'000'000;  // ns, between two attempts for one thread
constexpr std::int64_t longestSpin = 60 * millisecond;
constexpr std::int64_t shortestSpin = 30 * millisecond;  // that is watched for by turns of a third of it
constexpr std::int64_t longWait = 60'000 * millisecond;  // until a signal

}  // namespace

// Shared by the thread and the keeper.
struct UrgentEntry {
    enum class Standing {
        Calm,         // not urgent
        RealTime,     // in the real-time class, by itself or by the service
        Asking,       // refused that; the keeper asks the service
        Refused,      // the keeper got it a nice level, or nothing
        SteppedDown,  // taken out of the real-time class
    };

    explicit UrgentEntry(int level) : level(level) {}

    const int level;
    SpinMeter meter;
    // The thread changes it as it likes, the keeper only from what it has seen it to be.
    std::atomic<Standing> standing{Standing::Calm};
    std::atomic<std::int64_t> retryTime{0};  // ns; the thread doesn't raise itself before
    std::int64_t nextRequest = 0;            // ns; the keeper asks the service for nothing before
};

namespace {

using Standing = UrgentEntry::Standing;
using EntryPtr = std::shared_ptr<UrgentEntry>;

// What a real-time thread may compute without waiting, in ns: 60 ms, or less where the game, or a library of
// its own, has set a soft limit below 200 ms. Watch needs twice that at most.
std::int64_t AllowedSpin() {
    rlimit limit{};
    if (getrlimit(RLIMIT_RTTIME, &limit) != 0) return longestSpin;
    constexpr rlim_t plenty = 1'000'000;  // µs
    const auto microseconds = static_cast<std::int64_t>(std::min(limit.rlim_cur, plenty));
    return std::min(longestSpin, microseconds * 300);
}

// The hard limit as the service wants it, and the soft one no higher. What is lower already stays.
bool LowerTimeLimit(rlim_t microseconds) {
    rlimit limit{};
    if (getrlimit(RLIMIT_RTTIME, &limit) != 0) return false;
    if (limit.rlim_max <= microseconds) return true;
    limit = {std::min(limit.rlim_cur, microseconds), microseconds};
    return setrlimit(RLIMIT_RTTIME, &limit) == 0;
}

// Its owner hasn't said that the thread is over, and the caller sees to it that he can't meanwhile. Should it
// have ended nevertheless, as one of the sound library's may, its number goes to a new thread only after some
// ten thousand others, and that one is in the ordinary class, unless a game has put it into just this one; so
// nothing is done to it. (SpinMeter also knows it by its clock.)
void StepDown(pid_t thread) {
    const sched_param none{};
    if (sched_getscheduler(thread) == (SCHED_RR | SCHED_RESET_ON_FORK))
        sched_setscheduler(thread, SCHED_OTHER | SCHED_RESET_ON_FORK, &none);
}

// One look at a thread, of which there is one each time that a third of `allowed` has passed. It has computed
// for `allowed` at least when it is stepped down, and for twice that at most: a third before it is measured,
// one until it is seen to have waited before, `allowed`, and a third until that is seen.
void Watch(UrgentEntry& entry, std::int64_t allowed) {
    Standing seen = Standing::RealTime;
    if (entry.standing.load() != seen) return;
    const std::optional<std::int64_t> spin = entry.meter.Measure(allowed);
    if (!spin || *spin < allowed) return;
    entry.retryTime.store(NowNanoseconds() + retryPause);
    if (entry.standing.compare_exchange_strong(seen, Standing::SteppedDown)) StepDown(entry.meter.Thread());
}

// All entries, and the thread that keeps them.
class Registry {
public:
    static Registry& Instance() {
        static slib::NoDestroy<Registry> registry;
        return *registry;
    }

    void Add(const EntryPtr& entry);
    void Remove(const EntryPtr& entry);
    void Wake() { signal.Post(); }

private:
    class Keeper;

    slib::Mutex mutex;
    std::vector<EntryPtr> entries SLIB_GUARDED_BY(mutex);
    std::unique_ptr<Keeper> keeper SLIB_GUARDED_BY(mutex);
    slib::Semaphore signal;  // wakes the keeper
    const pid_t owner = getpid();
};

// It holds the lock while it looks at threads and changes their class, but not while it waits for an answer.
class Registry::Keeper : public slib::Thread {
public:
    explicit Keeper(Registry& registry) : Thread("Urgency", Priority::Normal), registry(registry) { Start(); }
    ~Keeper() override {
        if (!RequestStop()) return;
        registry.signal.Post();
        AwaitEnd();
    }

private:
    void Run() override;
    std::uint32_t Pause();
    bool WatchAll();
    void AnswerAll();
    void Answer(const EntryPtr& entry, RealtimeKit* kit);
    bool RaiseByService(const EntryPtr& entry, RealtimeKit& kit);
    void TakeNiceByService(const EntryPtr& entry, RealtimeKit& kit);
    bool Prepare(RealtimeKit& kit);
    bool IsThere(const EntryPtr& entry);

    Registry& registry;
    int level = 0;                 // of the real-time class, 0 outside of it
    std::int64_t nextRequest = 0;  // ns; for this thread itself
    bool isServiceGone = false;    // none answers, or none is there
};

void Registry::Keeper::Run() {
    sched_param own{};
    if (slib::TakeRealTimeLevel(keeperLevel) && sched_getparam(0, &own) == 0) level = own.sched_priority;
    while (!IsStopRequested()) {
        static_cast<void>(registry.signal.WaitFor(Pause()));
        try {
            if (WatchAll()) AnswerAll();
        } catch (const std::exception&) {  // no memory: the next turn may have it
        }
    }
}

// Milliseconds until the next turn.
std::uint32_t Registry::Keeper::Pause() {
    const slib::Lock lock(registry.mutex);
    const std::int64_t turn = AllowedSpin() / 3;
    std::int64_t pause = longWait;
    for (const EntryPtr& entry : registry.entries) {
        const Standing standing = entry->standing.load();
        if (standing == Standing::RealTime) pause = std::min(pause, turn);
        if (standing == Standing::Asking)
            pause = std::min(pause, std::max<std::int64_t>(entry->nextRequest - NowNanoseconds(), 0));
    }
    return static_cast<std::uint32_t>(pause / millisecond) + 1;
}

// False when this thread is to end.
bool Registry::Keeper::WatchAll() {
    const slib::Lock lock(registry.mutex);
    const std::int64_t allowed = AllowedSpin();
    for (const EntryPtr& entry : registry.entries)
        Watch(*entry, allowed);
    return !IsStopRequested();
}

// All that wait, on one connection, which is closed then: of a descriptor that stays open the game may close
// the number, and give it to a file of its own.
void Registry::Keeper::AnswerAll() {
    std::vector<EntryPtr> entries;
    {
        const slib::Lock lock(registry.mutex);
        entries = registry.entries;
    }
    std::unique_ptr<RealtimeKit> kit;
    for (const EntryPtr& entry : entries) {
        if (entry->standing.load() != Standing::Asking || NowNanoseconds() < entry->nextRequest) continue;
        if (!kit && !isServiceGone) kit = RealtimeKit::Connect([this] { return WatchAll(); });
        Answer(entry, kit.get());
        isServiceGone = !kit || kit->hasHung;
        if (IsStopRequested()) return;
    }
}

// Where the thread has become calm while the service raised it, it is put back.
void Registry::Keeper::Answer(const EntryPtr& entry, RealtimeKit* kit) {
    entry->nextRequest = NowNanoseconds() + retryPause;
    const bool isRaised = kit != nullptr && RaiseByService(entry, *kit);
    if (!isRaised && kit != nullptr) TakeNiceByService(entry, *kit);
    const slib::Lock lock(registry.mutex);
    if (IsStopRequested() || !IsThere(entry)) return;
    Standing seen = Standing::Asking;
    const bool isAsking =
        entry->standing.compare_exchange_strong(seen, isRaised ? Standing::RealTime : Standing::Refused);
    const pid_t thread = entry->meter.Thread();
    if (isRaised && !isAsking && seen == Standing::Calm) StepDown(thread);
    if (!isRaised && isAsking && getpriority(PRIO_PROCESS, static_cast<id_t>(thread)) >= 0)
        slib::ReportRefusedPriority();
}

bool Registry::Keeper::RaiseByService(const EntryPtr& entry, RealtimeKit& kit) {
    return Prepare(kit) && IsThere(entry) &&
           kit.MakeRealtime(entry->meter.Thread(), std::min(entry->level, level - 1));
}

void Registry::Keeper::TakeNiceByService(const EntryPtr& entry, RealtimeKit& kit) {
    const pid_t thread = entry->meter.Thread();
    const std::optional<std::int64_t> lowest = kit.Property("MinNiceLevel");
    if (!lowest || !IsThere(entry)) return;
    const int wanted = std::max(urgentNice, static_cast<int>(*lowest));
    if (wanted < getpriority(PRIO_PROCESS, static_cast<id_t>(thread)))
        static_cast<void>(kit.MakeHighPriority(thread, wanted));
}

// Whether other threads may be raised by the service, which this one must be the first to be. The service
// asks for the limit before that; no thread of ours is a real-time one by then, and one of the game's hardly,
// as it would have come to that class by this service too, or by a limit that serves ours as well.
bool Registry::Keeper::Prepare(RealtimeKit& kit) {
    const std::int64_t now = NowNanoseconds();
    if (level == 0 && now < nextRequest) return false;
    const std::optional<std::int64_t> highest = kit.Property("MaxRealtimePriority");
    const std::optional<std::int64_t> longest = kit.Property("RTTimeUSecMax");
    if (!highest || !longest || *highest < 2 || *longest * 300 < shortestSpin || AllowedSpin() < shortestSpin)
        return false;
    if (!LowerTimeLimit(static_cast<rlim_t>(*longest))) return false;
    const int wanted = static_cast<int>(std::min<std::int64_t>(*highest, keeperLevel));
    if (level > 0) return true;
    nextRequest = now + retryPause;
    if (kit.MakeRealtime(gettid(), wanted)) level = wanted;
    return level > 0;
}

bool Registry::Keeper::IsThere(const EntryPtr& entry) {
    const slib::Lock lock(registry.mutex);
    return std::find(registry.entries.begin(), registry.entries.end(), entry) != registry.entries.end();
}

// A forked child has no keeper, and nobody gives back a lock.
void Registry::Add(const EntryPtr& entry) {
    if (owner != getpid()) std::construct_at(this);
    const slib::Lock lock(mutex);
    entries.push_back(entry);
    try {
        if (!keeper) keeper = std::make_unique<Keeper>(*this);
    } catch (const std::exception&) {
    }
}

void Registry::Remove(const EntryPtr& entry) {
    if (owner != getpid()) return;
    std::unique_ptr<Keeper> last;  // ends after the lock
    const slib::Lock lock(mutex);
    std::erase(entries, entry);
    if (entries.empty()) last = std::move(keeper);
}

}  // namespace

UrgentThread::UrgentThread(int level) : entry(std::make_shared<UrgentEntry>(level)) {
    Registry::Instance().Add(entry);
}

UrgentThread::~UrgentThread() {
    Registry::Instance().Remove(entry);
}

void UrgentThread::SetUrgent(bool urgent) {
    std::atomic<Standing>& standing = entry->standing;
    const Standing before = standing.load();
    const bool isUp = before != Standing::Calm && before != Standing::SteppedDown;
    if (!urgent && (before != Standing::Calm || entry->meter.Thread() == 0)) {
        entry->meter.Begin();
        standing.store(Standing::Calm);
        slib::TakeNiceLevel(calmNice);
    }
    if (!urgent || isUp || NowNanoseconds() < entry->retryTime.load()) return;
    entry->meter.Begin();
    const bool isRaised = slib::TakeRealTimeLevel(entry->level);
    if (!isRaised) slib::TakeNiceLevel(urgentNice);
    standing.store(isRaised ? Standing::RealTime : Standing::Asking);
    Registry::Instance().Wake();
}

bool UrgentThread::IsRefused() const {
    return entry->standing.load() == Standing::Refused;
}

}  // namespace platform
