#include "app/goaldll/process.h"

#include <unistd.h>

#include "orb3core/store/configstore.h"
#include "slib/nodestroy.h"
#include "slib/task.h"

namespace goal {
namespace {

// Brings the state of the process into being as the library is loaded, and shuts it down as the library is
// unloaded or the process ends.
class Loaded {
public:
    Loaded() : loader(getpid()) {
        slib::TaskQueue::Instance();  // built before, so it is destroyed after
        TheProcess();
    }
    ~Loaded() {
        if (getpid() == loader) TheProcess().ShutDown();
    }
    Loaded(const Loaded&) = delete;
    Loaded& operator=(const Loaded&) = delete;

private:
    const pid_t loader;
};

const Loaded loaded;

}  // namespace

Process& TheProcess() {
    static slib::NoDestroy<Process> process;
    return *process;
}

Process::Process() : log(orb3::storeRoot, "Tessarune"), engine(&log, &machinery) {}

bool Process::LogCallFailure(const char* prefix, std::string_view text, bool always) noexcept {
    try {
        const bool isVerbose = engine.configuration.Read(
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

void Process::FailAl(std::string_view text, int code) noexcept {
    alError.Record(code);
    LogCallFailure("Game AL call failed: ", text, false);
}

void DestroyContext(Process& process, Context* context) {
    if (context == nullptr) return;
    context->End();
    const slib::Lock apiLock(process.engine.apiMutex);
    process.engine.device.context = nullptr;
    // A game's thread may have made it current again meanwhile.
    if (process.currentContext == context) process.currentContext = nullptr;
    delete context;
    // No renderer reads the memory of static buffers any more.
    process.engine.device.bufferPool.MarkUsage();
    process.engine.retired.Empty();
}

void Process::ShutDown() {
    const slib::Lock lifetimeLock(engine.contextLifetimeMutex);
    slib::Lock apiLock(engine.apiMutex);
    isUnloading = true;
    Context* const context = engine.device.context;
    currentContext = nullptr;
    apiLock.Release();
    DestroyContext(*this, context);

    {
        const slib::Lock secondApiLock(engine.apiMutex);
        engine.device.bufferPool.Clear();
        const slib::Lock configurationLock(engine.configuration.configurationMutex);
        deviceList = std::string();
        engine.configuration.Unload();
    }
    log.Close();
    orb3::CloseStores();
}

}  // namespace goal
