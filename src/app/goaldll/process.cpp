#include "app/goaldll/process.h"

#include <pthread.h>
#include <unistd.h>

#include <memory>

#include "app/goaldll/callframe.h"
#include "orb3core/store/configstore.h"
#include "slib/endoflibrary.h"
#include "slib/nodestroy.h"
#include "slib/task.h"

namespace goal {
namespace {

// Both together less than a second.
constexpr std::uint32_t longestEnding = 600;  // ms, of the context
constexpr std::uint32_t longestTask = 200;    // ms, of a task that is running

pid_t owner = 0;  // the process that our threads are in; another one is a child made behind our back

// Brings the state of the process into being as the library is loaded, and shuts it down as the library is
// unloaded or the process ends.
class Loaded {
public:
    Loaded() {
        owner = getpid();
        slib::TaskQueue::Instance();
        TheProcess();
        pthread_atfork(nullptr, nullptr, [] { TheProcess().ContinueInChild(); });
    }
    ~Loaded() {
        if (getpid() != owner) return;
        if (slib::libraryEnd != slib::LibraryEnd::Exit) {
            TheProcess().ShutDown();
            slib::TaskQueue::DestroyInstance();
        } else if (TheProcess().ending.RunWithin(longestEnding)) {
            static_cast<void>(slib::TaskQueue::Instance().EndWithin(longestTask));
        }
        TheProcess().status.RemoveName();
    }
    Loaded(const Loaded&) = delete;
    Loaded& operator=(const Loaded&) = delete;
};

const Loaded loaded;

// What alcSetThreadContext was given. A context that is gone is known by its number, whatever took its place.
struct OwnContext {
    Context* context = nullptr;
    std::uint64_t number = 0;
};
thread_local OwnContext ofThisThread;

}  // namespace

Context* ThreadContext(const Process& process) {
    Context* const context = ofThisThread.context;
    if (context == nullptr || !process.engine.device.contexts.Has(context)) return nullptr;
    return context->number == ofThisThread.number ? context : nullptr;
}

void SetThreadContext(Context* context) noexcept {
    ofThisThread = {context, context != nullptr ? context->number : 0};
}

Process& TheProcess() {
    static slib::NoDestroy<Process> process;
    return *process;
}

void NoteExit() {
    slib::NoteLibraryExit();
}

bool HasExitBegun() {
    return slib::libraryEnd == slib::LibraryEnd::Exit;
}

Process::Process()
    : log(orb3::storeRoot, "Tessarune"),
      engine(&log, &machinery),
      captures(&log),
      ending([this] { ShutDown(); }) {
    engine.status = &status;
}

bool Process::LogCallFailure(const char* prefix, std::string_view text, bool always) noexcept {
    const CancellationHeldOff heldOff;
    try {
        const bool isVerbose = engine.configuration.Peek(
            [](const orb3::Configuration& c) { return c.goalConfig.isLoggingVerbose; });
        if (isVerbose || always) log.Write(prefix + std::string(text), true);
        return true;
    } catch (...) {
        return false;
    }
}

void Process::FailAlc(std::string_view text, int code) noexcept {
    alcError.Record(code);
    LogCallFailure("Game ALC call failed: ", text, false);
}

ErrorSlot& Process::AlErrors() noexcept {
    if (!profile.IsOn(GameSwitch::SeveralContexts) && !profile.IsOn(GameSwitch::ThreadContexts))
        return alError;
    const std::size_t place = engine.device.contexts.PlaceOf(CurrentContext(*this));
    return place < contextErrors.size() ? contextErrors[place] : alError;
}

void Process::FailAl(std::string_view text, int code) noexcept {
    AlErrors().Record(code);
    LogCallFailure("Game AL call failed: ", text, false);
}

void DestroyContext(Process& process, Context* context) {
    if (context == nullptr) return;
    context->End();
    const ApiLock apiLock(process);
    Device& device = process.engine.device;
    device.contexts.Remove(context);
    // A game's thread may have made it current again meanwhile.
    if (process.currentContext == context) process.currentContext = nullptr;
    const std::size_t place = context->place;
    delete context;
    device.bufferPool.EndReading(place);
    process.engine.retired.Empty();
    if (device.contexts.First() == nullptr) process.ending.Cancel();
}

// Returns a context that is still there.
Context* Process::BeginShutDown() {
    const slib::Lock lock(engine.apiMutex);
    isUnloading = true;
    currentContext = nullptr;
    return engine.device.contexts.First();
}

void Process::ShutDown() {
    const slib::Lock lifetimeLock(engine.contextLifetimeMutex);
    while (Context* const context = BeginShutDown())
        DestroyContext(*this, context);
    captures.ShutDown();
    profile.Forget();

    {
        const slib::Lock secondApiLock(engine.apiMutex);
        engine.device.bufferPool.Clear();
        const slib::Lock configurationLock(engine.configuration.configurationMutex);
        deviceList = std::string();
        engine.configuration.Unload();
        engine.configuration.ForgetOverrides();
    }
    status.Withdraw();
    log.Close();
    orb3::CloseStores();
}

// The two mutexes may have had waiting threads, or one that had just taken it.
void Process::ContinueInChild() noexcept SLIB_UNCHECKED_LOCKS {
    status.ContinueInChild();
    const bool isUsed = callsUnderWay != 0 || captures.IsInUse() || engine.device.contexts.First() != nullptr;
    if (isUsed || slib::Mutex::AreGivenUp()) return slib::Mutex::GiveUpAll();
    try {
        std::construct_at(&engine.contextLifetimeMutex);
        std::construct_at(&engine.apiMutex);
        slib::TaskQueue::RenewInstance();
        owner = getpid();
    } catch (const std::exception&) {
        slib::Mutex::GiveUpAll();
    }
}

}  // namespace goal
