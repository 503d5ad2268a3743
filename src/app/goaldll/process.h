#pragma once

// The state of the process behind the exported calls: alive from the load of the library to its unload, and
// usable even beyond, by a game's threads that are still inside a call while another one ends the process.

#include <array>
#include <atomic>
#include <cstddef>
#include <string>
#include <string_view>

#include "app/goaldll/capture.h"
#include "app/goaldll/ending.h"
#include "app/goaldll/profileinforce.h"
#include "goal/context.h"
#include "goal/engine.h"
#include "goal/outputmachinery.h"
#include "goal/statuspage.h"
#include "orb3core/store/registrylog.h"

namespace goal {

/// An error slot. The first code stays until it is taken. Any thread.
class ErrorSlot {
public:
    void Record(int newCode) {
        int none = 0;
        code.compare_exchange_strong(none, newCode);
    }

    /// The code, 0 for none; the slot is empty afterwards.
    int Take() { return code.exchange(0); }

private:
    std::atomic<int> code{0};
};

/// One for the process.
struct Process {
    Process();

    ggui::RegistryLog log;
    OutputMachinery machinery;
    StatusPage status;
    Engine engine;
    ProfileInForce profile{status};
    CaptureDevices captures;
    Context* currentContext SLIB_GUARDED_BY(engine.apiMutex) = nullptr;  ///< as the game gave it
    ErrorSlot alcError;
    ErrorSlot alError;
    /// By the place of a context, in place of alError, where the profile allows several or one for each
    /// thread.
    std::array<ErrorSlot, ContextTable::most> contextErrors;
    /// Of alcGetString; built at the first query.
    std::string deviceList SLIB_GUARDED_BY(engine.configuration.configurationMutex);
    bool isUnloading SLIB_GUARDED_BY(engine.apiMutex) = false;  ///< no context comes into being any more
    int callsUnderWay SLIB_GUARDED_BY(engine.apiMutex) = 0;
    Ending ending;  ///< prepared while there is a context

    /// Looks for the game's profile, at the process's first call.
    void TakeProfile() noexcept SLIB_REQUIRES(engine.apiMutex) {
        if (!profile.isTaken) profile.Take(engine.configuration, log);
    }

    /// The slot of the AL calls: of the process, or of the current context where the profile gives each one
    /// its own.
    ErrorSlot& AlErrors() noexcept SLIB_REQUIRES(engine.apiMutex);

    /// Records `code` in the slot of the ALC or the AL calls, and logs "Game ALC call failed: " or "Game AL
    /// call failed: " and `text` when logging is verbose. Never throws.
    void FailAlc(std::string_view text, int code) noexcept;
    void FailAl(std::string_view text, int code) noexcept SLIB_REQUIRES(engine.apiMutex);

    /// Writes `prefix` and `text` as an error line when logging is verbose, or always when `always` is set.
    /// False when there was no memory for that. Never throws.
    bool LogCallFailure(const char* prefix, std::string_view text, bool always) noexcept;

    /// Ends the contexts, closes what is recorded from, and gives back all memory. What is called afterwards
    /// finds a device that makes no context.
    void ShutDown();

    /// In a child that the game forked, before anything else runs there. No thread of ours exists in it.
    /// Where there was neither a context, a capture device nor a call under way all is as it was in the
    /// parent; otherwise the memory may be in the middle of a change by a thread that is gone, and every call
    /// is refused from then on.
    void ContinueInChild() noexcept;

private:
    Context* BeginShutDown();
};

Process& TheProcess();

/// The context that alcSetThreadContext gave the calling thread, as long as it is the device's; null for
/// none.
Context* ThreadContext(const Process& process) SLIB_REQUIRES(process.engine.apiMutex);

/// Gives the calling thread a context of the device, or none.
void SetThreadContext(Context* context) noexcept;

/// The context that calls work on: the current one of the thread, else that of the process, as long as it is
/// the device's. Whatever else a game made current counts as none.
inline Context* CurrentContext(Process& process) SLIB_REQUIRES(process.engine.apiMutex) {
    if (process.profile.IsOn(GameSwitch::ThreadContexts))
        if (Context* const own = ThreadContext(process)) return own;
    return process.engine.device.contexts.Has(process.currentContext) ? process.currentContext : nullptr;
}

/// Before the first context: lets the end of the library know that it is the end of the process too.
void NoteExit();

/// True once `exit` was called after NoteExit: threads of ours may outlast the library's end then.
bool HasExitBegun();

/// Stops and frees a context of the device, which isn't current any more; null does nothing. Until its server
/// has ended it stays the device's, so that what the server may still read isn't freed by other calls. The
/// caller doesn't hold apiMutex.
void DestroyContext(Process& process, Context* context) SLIB_REQUIRES(process.engine.contextLifetimeMutex);

}  // namespace goal
